#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "admin/ConfigurationReading.h"
#include "admin/Differences.h"
#include "admin/DiscardingObserver.h"
#include "admin/FileComparison.h"
#include "admin/KeyedHash.h"
#include "admin/OutputFile.h"
#include "admin/Routing.h"
#include "admin/Unsettled.h"
#include "admin/UnusedFiles.h"
#include "admin/verbs.h"
#include "admin/verifyNames.h"
#include "driver/prepareProcess.h"

namespace {

std::vector<std::string> namesOf(const std::vector<OutputFile>& files) {
  std::vector<std::string> names;
  names.reserve(files.size());
  for (const OutputFile& file : files) {
    names.push_back(file.name);
  }
  return names;
}

/// So much of each file is looked at that a run over few is quick and one over many stays small.
ComparisonContext contextFor(Differences& differences, Unsettled& unsettled, const Routing& routing,
                             std::size_t files) {
  constexpr std::size_t allBytes = std::size_t{8} * 1024 * 1024;
  constexpr std::size_t mostBytes = std::size_t{256} * 1024;
  constexpr std::size_t leastBytes = std::size_t{16} * 1024;
  constexpr std::size_t allEntries = 65536;
  constexpr std::size_t mostEntries = 8192;
  constexpr std::size_t leastEntries = 64;
  return {differences,
          unsettled,
          routing,
          KeyedHash::newKey(),
          std::max(leastBytes, std::min(mostBytes, allBytes / files)),
          std::max(leastEntries, std::min(mostEntries, allEntries / files))};
}

/// Gives what a split would write to the comparisons of the files.
class Verifier : public DiscardingObserver {
 public:
  Verifier(const VarnelConfig& config, const std::vector<OutputFile>& files,
           Differences& differences, Unsettled& unsettled, const Routing& routing)
      : inputFile_(config.inputFile_),
        differences_(differences),
        unsettled_(unsettled),
        context_(contextFor(differences, unsettled, routing, files.size())) {
    for (const OutputFile& file : files) {
      const bool headerAlone = file.hasDefaultName && file.name == config.defaultOutputFile_;
      files_.push_back(
          std::make_unique<FileComparison>(context_, files_.size(), file.name, headerAlone));
      byName_[file.name] = files_.back().get();
    }
  }

  void startsRecord(const ldifsplit::SplitRecord& record) override {
    guarded([&] {
      endRecord();
      ++entries_;
      unsettled_.names().add(RecentNames::hash(record.dn, record.dnSize));
      for (const std::string* name : record.files) {
        targets_.push_back(fileOf(name));
      }
      begun_ = targets_;
      start_.clear();
      startPieces_ = 0;
      if (begun_.size() > 1) {
        // A file that is listed more than once gets each piece so often, and the start of a record
        // is one piece.
        std::sort(begun_.begin(), begun_.end());
        begun_.erase(std::unique(begun_.begin(), begun_.end()), begun_.end());
        startPieces_ = begun_.size() < targets_.size() ? piecesOfStart : 0;
      }
      for (FileComparison* file : begun_) {
        file->begins(record.line, record.dn, record.dnSize);
      }
    });
  }

  void wrote(const char* bytes, std::size_t size) override {
    guarded([&] {
      if (startPieces_ > 0) {
        start_.append(bytes, size);
        if (--startPieces_ > 0) {
          return;
        }
        bytes = start_.data();
        size = start_.size();
      }
      for (FileComparison* file : targets_) {
        file->takes(bytes, size);
      }
    });
  }

  /// Behind the run.
  void finish() {
    endRecord();
    for (const auto& file : files_) {
      file->finish();
    }
    unsettled_.settle();
  }

  std::uint64_t entries() const { return entries_; }
  const std::vector<std::unique_ptr<FileComparison>>& files() const { return files_; }

 protected:
  void passesOver(const ldifsplit::UnusableLine& line) override {
    differences_.add({Difference::unusableLine, inputFile_, line.number, "",
                      line.isDn ? "this is no usable DN: a split stops here"
                                : "this is no LDIF line: a split stops here",
                      0});
  }

 private:
  static constexpr int piecesOfStart = 3;

  template <typename Step>
  void guarded(const Step& step) {
    try {
      step();
    } catch (const SystemError& error) {
      fail(error);
    }
  }

  void endRecord() {
    for (FileComparison* file : begun_) {
      file->ends();
    }
    begun_.clear();
    targets_.clear();
  }

  FileComparison* fileOf(const std::string* name) {
    FileComparison*& file = byPlace_[name];
    if (file == nullptr) {
      file = byName_.at(*name);
    }
    return file;
  }

  const std::string inputFile_;
  Differences& differences_;
  Unsettled& unsettled_;
  ComparisonContext context_;
  std::vector<std::unique_ptr<FileComparison>> files_;
  std::map<std::string, FileComparison*> byName_;
  std::unordered_map<const std::string*, FileComparison*> byPlace_;  // of the actors' names
  std::vector<FileComparison*> targets_;  // of the record, as they are written to
  std::vector<FileComparison*> begun_;    // the same, each once
  int startPieces_ = 0;
  std::string start_;
  std::uint64_t entries_ = 0;
};

void printResult(const Verifier& verifier, const Differences& differences) {
  nlohmann::ordered_json result;
  result["verb"] = "verify";
  result["mode"] = "bytes";
  result["good"] = differences.none();
  result["entries"] = verifier.entries();
  nlohmann::ordered_json files = nlohmann::ordered_json::array();
  for (const auto& file : verifier.files()) {
    files.push_back(
        {{"file", file->name()}, {"entries", file->entries()}, {"bytes", file->bytes()}});
  }
  result["files"] = files;
  differences.addTo(result);
  printJson(result);
}

ExitStatus verifyFiles(const ConfigurationReading& reading, const VerifyOptions& options) {
  const VarnelConfig& config = reading.config();
  const std::vector<OutputFile> outputs = outputFilesOf(reading.files());
  const std::vector<std::string> names = namesOf(outputs);
  warnOfTooManyFiles(names.size() + 1);
  Differences differences(options.limit);
  const Routing routing(config);
  Unsettled unsettled(differences, routing, names);
  Verifier verifier(config, outputs, differences, unsettled, routing);
  const DiscardingObserver::End end =
      verifier.run(config.inputFile_, routing.actors(), config.defaultOutputFile_);
  if (!end.isWhole()) {
    differences.add({Difference::unusableLine, config.inputFile_, end.line, "",
                     end.why + ": a split stops here", 0});
  }
  verifier.finish();
  if (options.json) {
    printResult(verifier, differences);
  } else {
    differences.print();
    differences.printSummary(std::to_string(verifier.entries()) + " entries in " +
                                 std::to_string(outputs.size()) + " files",
                             true);
  }
  return differences.none() ? ExitStatus::good : ExitStatus::wrong;
}

}  // namespace

ExitStatus verify(const VerifyOptions& options) {
  options.common.loadSchema();
  const ConfigurationReading reading(options.common.configFile, std::make_shared<UnusedFiles>());
  if (!reading.printErrors()) {
    return ExitStatus::wrong;
  }
  return options.names ? verifyNames(reading, options) : verifyFiles(reading, options);
}
