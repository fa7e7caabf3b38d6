#include "admin/warningsOf.h"

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "actors/AncestorWalk.h"
#include "actors/CryptoActor.h"
#include "actors/normalizeDn.h"
#include "admin/existingOutputs.h"
#include "config/configKeys.h"
#include "driver/foreignFormat.h"
#include "driver/prepareProcess.h"
#include "platform/dirclient/NormalDn.h"

namespace {

using Use = LookedAtFiles::Use;

class Warnings {
 public:
  explicit Warnings(const ConfigurationReading& reading) : reading_(reading) {}

  std::vector<Finding> all() {
    if (!reading_.isFaulty(baseDirKey) && !reading_.isFaulty(fileDirKey)) {
      ofOutputs();
      ofSpace();
    }
    ofRepeatedOutputs();
    ofBaseDns();
    ofInput();
    ofDescriptors();
    return found_;
  }

 private:
  void add(int line, const std::string& what, const std::string& value, const std::string& cure) {
    found_.push_back({false, reading_.config().configFile_, line, what, value, cure});
  }

  /// Its name counts only as the configured one could not be used.
  bool isOfFaultyLine(const Use& use) const {
    return use.line == 0 &&
           reading_.isFaulty(use.role == FileRole::log ? logFileKey : outputFileKey);
  }

  void ofOutputs();
  void ofRepeatedOutputs();
  void ofBaseDns();
  void ofNameOfKeys(const std::string& baseDn);
  void ofInput();
  void ofDescriptors();
  void ofSpace();

  const ConfigurationReading& reading_;
  std::vector<Finding> found_;
};

void Warnings::ofOutputs() {
  std::vector<Use> outputs;
  for (const Use& use : existingOutputs(reading_.files())) {
    if (!isOfFaultyLine(use)) {
      outputs.push_back(use);
      add(use.line, "the output file exists", use.name,
          "varnel overwrites it only with -r, varnelctl split with --replace");
    }
  }
  if (!outputs.empty()) {
    add(0, "output files exist", std::to_string(outputs.size()),
        "this removes them: " + removalOf(outputs));
  }
  std::set<std::string> streams;
  for (const Use& use : reading_.files().uses()) {
    if (use.role == FileRole::output && use.kind == FileKind::stream &&
        streams.insert(use.name).second) {
      add(use.line, "the output file is a device or a pipe", use.name,
          "varnel writes to it only with -r, varnelctl split writes to it directly");
    }
  }
}

void Warnings::ofRepeatedOutputs() {
  std::map<std::string, int> lines;
  for (const Use& use : reading_.files().uses()) {
    if (use.role != FileRole::output) {
      continue;
    }
    const auto known = lines.find(use.name);
    if (known == lines.end()) {
      lines[use.name] = use.line;
    } else {
      add(use.line, "the output file is that of line " + std::to_string(known->second) + " too",
          use.name, "its servers share it: varnel writes it so only with -r");
    }
  }
}

/// Whether its first RDN has several values: nothing below it is recognised then.
bool startsWithSeveralValues(const dirclient::NormalDn& dn) {
  const std::size_t end = dn.rdnCount() > 1 ? dn.rdnBegin(1) : dn.text().size();
  for (std::size_t i = 0; i < end; ++i) {
    if (dn.text()[i] == '+') {
      return true;
    }
    i += dn.text()[i] == '\\' ? 1 : 0;
  }
  return false;
}

/// Of several base DNs above an entry the nearest one counts.
void Warnings::ofBaseDns() {
  const std::vector<std::string> baseDns = reading_.config().baseDNlist();
  const std::set<std::string> names(baseDns.begin(), baseDns.end());
  for (const std::string& baseDn : baseDns) {
    if (VarnelConfig::isOfFaultyLine(baseDn)) {
      continue;
    }
    ofNameOfKeys(baseDn);
    dirclient::NormalDn inner;
    inner.normalize(baseDn.data(), baseDn.size(), schemaInitialized);
    AncestorWalk walk(inner);
    while (!startsWithSeveralValues(inner) && walk.up()) {
      const std::string outer(walk.data(), walk.size());
      if (names.count(outer) != 0) {
        std::string what = "the base DN is below that of line ";
        what += std::to_string(reading_.lines().lineOfBaseDn(outer));
        what += ", " + outer;
        add(reading_.lines().lineOfBaseDn(baseDn), what, baseDn,
            "this inner one wins: its entries go to its own servers alone");
        break;
      }
    }
  }
}

void Warnings::ofNameOfKeys(const std::string& baseDn) {
  if (baseDn == cryptoDN) {
    add(reading_.lines().lineOfBaseDn(baseDn), "entries of this base DN go to all output files",
        baseDn, "its own servers do not count: remove the section");
  }
}

void Warnings::ofInput() {
  const std::string& input = reading_.config().inputFile_;
  const std::string format = input.empty() ? "" : foreignFormat(input);
  if (format.empty()) {
    return;
  }
  int line = 0;
  for (const Use& use : reading_.files().uses()) {
    line = use.role == FileRole::input ? use.line : line;
  }
  add(line, "the input is " + format, input,
      isCompressed(format) ? "varnelctl reads it as it is, varnel has to be given the plain text"
                           : "it can be split only without the mark");
}

/// A split may have all output files and the input open at a time.
void Warnings::ofDescriptors() {
  std::set<std::string> outputs;
  for (const Use& use : reading_.files().uses()) {
    if (use.role == FileRole::output) {
      outputs.insert(use.name);
    }
  }
  std::size_t known = reading_.messages().size();
  warnOfTooManyFiles(outputs.size() + 1);
  for (; known < reading_.messages().size(); ++known) {
    found_.push_back(findingOf(reading_.messages()[known], reading_.config().configFile_, 0));
  }
}

/// How much of the input goes to which file is not known before a split: each file system is
/// compared with all of it.
void Warnings::ofSpace() {
  const std::string& input = reading_.config().inputFile_;
  struct stat status {};
  if (input.empty() || ::stat(input.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return;
  }
  const auto wanted = static_cast<std::uint64_t>(status.st_size);
  std::set<dev_t> systems;
  for (const Use& use : reading_.files().uses()) {
    const std::string directory = directoryOf(behindLinks(use.name));
    struct statvfs space {};
    if (use.role != FileRole::output || use.kind == FileKind::stream ||
        ::stat(directory.c_str(), &status) != 0 || !systems.insert(status.st_dev).second ||
        ::statvfs(directory.c_str(), &space) != 0) {
      continue;
    }
    const std::uint64_t free = std::uint64_t{space.f_bavail} * space.f_frsize;
    if (free < wanted) {
      add(use.line,
          "the file system has " + std::to_string(free) + " bytes free, and the input has " +
              std::to_string(wanted),
          directory, "make room, or name a place on another one");
    }
  }
}

}  // namespace

std::vector<Finding> warningsOf(const ConfigurationReading& reading) {
  return Warnings(reading).all();
}
