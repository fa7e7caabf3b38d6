#include "testsupport/plainSplit.h"

#include <cstddef>
#include <memory>
#include <set>

#include "actors/normalizeDn.h"
#include "platform/dirclient/dirclient.h"
#include "platform/ldif/str_parse_line_v_or_bv.h"

namespace {

const std::string cryptoBase = "CN=LOCALHOST";

/// Thrown where the split ends before the input does.
struct Stop {
  SplitOutcome::Kind kind;
  int line;
  std::string message;
  bool isReported;
};

/// A file as the functions of the C library read it: the end is known once reading has met it.
class Input {
 public:
  explicit Input(const std::string& bytes) : bytes_(bytes) {}

  bool metEnd() const { return metEnd_; }

  /// What fgets with a buffer of 4096 bytes reads. Nothing at the end.
  std::string line() {
    std::string read;
    while (read.size() < 4095 && next()) {
      read += bytes_[at_];
      ++at_;
      if (read.back() == '\n') {
        break;
      }
    }
    return read;
  }

  /// The next byte is looked at and stays.
  bool nextIsBlank() { return next() && bytes_[at_] == ' '; }

 private:
  bool next() {
    metEnd_ = metEnd_ || at_ == bytes_.size();
    return !metEnd_;
  }

  const std::string& bytes_;
  std::size_t at_ = 0;
  bool metEnd_ = false;
};

/// The DN and those above it, in normal form.
std::vector<std::string> wayUp(const std::string& dn) {
  std::vector<std::string> names = {dn};
  std::unique_ptr<std::string> parent(nLdifActor::getParent(dn));
  while (parent != nullptr) {
    names.push_back(*parent);
    parent.reset(nLdifActor::getParent(names.back()));
  }
  return names;
}

class PlainSplit {
 public:
  PlainSplit(const ServerFiles& servers, const std::string& defaultFile, int firstLine)
      : servers_(servers), defaultFile_(defaultFile), firstLine_(firstLine) {}

  SplitOutcome run(const std::string& bytes) {
    try {
      splitAll(bytes);
    } catch (const Stop& stop) {
      outcome_.kind = stop.kind;
      outcome_.line = stop.line;
      outcome_.message = stop.message;
      outcome_.isReported = stop.isReported;
    }
    return outcome_;
  }

 private:
  void splitAll(const std::string& bytes) {
    Input input(bytes);
    std::string line = input.line();
    if (line.empty()) {
      throw Stop{SplitOutcome::splitException, 1, "Error reading input file", false};
    }
    for (bool isFirst = true; !input.metEnd(); isFirst = false) {
      if (!isFirst) {
        line = input.line();
      }
      while (input.nextIsBlank()) {
        line += input.line();
        ++lineNumber_;
      }
      ++lineNumber_;
      splitLine(line);
    }
  }

  void splitLine(const std::string& line) {
    if (line[0] == '#' || line[0] == '\n' || line[0] == '\0' || line[0] == '\r') {
      return;
    }
    std::vector<char> copy(line.begin(), line.end());
    copy.push_back('\0');
    char* type = nullptr;
    char* value = nullptr;
    char* url = nullptr;
    int length = 0;
    int encoding = 0;
    const int result =
        str_parse_line_v_or_bv(copy.data(), &type, &value, &length, 1, &url, &encoding);
    const bool opensRecord = type != nullptr && std::string(type) == "dn";
    // A DN that a NUL would cut short names another entry.
    const bool isCut = opensRecord && line.find('\0') != std::string::npos;
    if (result == ldifLineInvalid || isCut) {
      stopAtInvalidLine(true);
    }
    if (opensRecord) {
      startRecord(value);
      return;
    }
    for (const std::string& name : currentFiles_) {
      if (type == nullptr) {
        throw Stop{SplitOutcome::outputException, lineNumber_, name, false};
      }
      outcome_.files.at(name) += line;
    }
  }

  void startRecord(const std::string& value) {
    std::string dn = value;
    nLdifActor::normalizeDn(dn);
    if (dn.empty()) {
      stopAtInvalidLine(false);
    }
    if (lineNumber_ < firstLine_) {
      return;
    }
    currentFiles_ = filesOf(dn);
    for (const std::string& name : currentFiles_) {
      outcome_.files.emplace(name, "version: 1\n\n");
    }
    for (const std::string& name : currentFiles_) {
      outcome_.files.at(name) += "\ndn: " + value + "\n";
    }
  }

  std::vector<std::string> filesOf(const std::string& dn) const {
    for (const std::string& name : wayUp(dn)) {
      if (name == cryptoBase) {
        return allFiles();
      }
      if (servers_.count(name) != 0) {
        return filesBelow(name, dn);
      }
    }
    return {defaultFile_};
  }

  /// Of an entry whose nearest base DN is this one.
  std::vector<std::string> filesBelow(const std::string& base, const std::string& dn) const {
    const std::vector<std::string>& files = servers_.at(base);
    if (dn == base) {
      return files;
    }
    const int server =
        get_hash_value_from_dn(dn.c_str(), base.c_str(), static_cast<int>(files.size()));
    return {files.at(static_cast<std::size_t>(server) - 1)};
  }

  std::vector<std::string> allFiles() const {
    std::set<std::string> names;
    for (const auto& base : servers_) {
      names.insert(base.second.begin(), base.second.end());
    }
    return std::vector<std::string>(names.begin(), names.end());
  }

  [[noreturn]] void stopAtInvalidLine(bool isReported) const {
    throw Stop{SplitOutcome::splitException, lineNumber_, "Invalid LDIF line detected", isReported};
  }

  const ServerFiles& servers_;
  const std::string& defaultFile_;
  const int firstLine_;
  int lineNumber_ = 0;  // of the last physical line of the logical line at hand
  std::vector<std::string> currentFiles_;
  SplitOutcome outcome_;
};

}  // namespace

SplitOutcome plainSplit(const std::string& input, const ServerFiles& servers,
                        const std::string& defaultFile, int firstLine) {
  return PlainSplit(servers, defaultFile, firstLine).run(input);
}
