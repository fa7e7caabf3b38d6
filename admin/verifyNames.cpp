#include "admin/verifyNames.h"

#include <sys/stat.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <unordered_set>
#include <utility>
#include <vector>

#include "actors/ldifActorFactory.h"
#include "admin/Differences.h"
#include "admin/DiscardingObserver.h"
#include "admin/KeyedHash.h"
#include "admin/NameTable.h"
#include "admin/OutputFile.h"
#include "admin/storedName.h"

namespace {

using Side = NameTable::Side;

/// Reads a file and tells each name.
class NameReader : public DiscardingObserver {
 public:
  using Visit = std::function<void(const ldifsplit::SplitRecord&, const Fingerprint&)>;
  using Fault = std::function<void(const ldifsplit::UnusableLine&)>;

  NameReader(const KeyedHash::Key& key, Visit visit, Fault fault)
      : key_(key), visit_(std::move(visit)), fault_(std::move(fault)) {}

  void startsRecord(const ldifsplit::SplitRecord& record) override {
    const std::string& name = record.normalDn.text();
    visit_(record, KeyedHash::of(key_, name.data(), name.size()));
  }

 protected:
  void passesOver(const ldifsplit::UnusableLine& line) override {
    if (fault_ != nullptr) {
      fault_(line);
    }
  }

 private:
  const KeyedHash::Key key_;
  const Visit visit_;
  const Fault fault_;
};

/// A name that a pass collects.
struct Name {
  Fingerprint print;
  std::uint32_t file;
  int line;
  Side side;
};

bool operator<(const Name& a, const Name& b) {
  return std::tie(a.file, a.print, a.side, a.line) < std::tie(b.file, b.print, b.side, b.line);
}

bool isRegular(const std::string& name) {
  struct stat status {};
  return ::stat(name.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

class NamesVerifier {
 public:
  NamesVerifier(const ConfigurationReading& reading, std::size_t limit)
      : config_(reading.config()),
        actors_(ldifActorFactory(config_)),
        key_(KeyedHash::newKey()),
        limit_(limit),
        differences_(limit),
        table_(outputFilesOf(reading.files()).size()) {
    for (const OutputFile& output : outputFilesOf(reading.files())) {
      numbers_[output.name] = static_cast<std::uint32_t>(files_.size());
      files_.push_back({output.name, storedName(output.name), 0, 0});
    }
  }

  void run();

  /// Whether every difference was counted.
  bool isExact() const { return isExact_; }
  const Differences& differences() const { return differences_; }
  void addTo(nlohmann::ordered_json& result) const;
  std::uint64_t entries() const { return entries_; }
  std::size_t files() const { return files_.size(); }

 private:
  struct File {
    std::string name;
    std::string stored;  // empty: there is none
    std::uint64_t expected;
    std::uint64_t found;
  };

  /// What is done with each name that a file is to have, or has: the file's number, the name, its
  /// line, its side, and its DN.
  using Visit =
      std::function<void(std::uint32_t, const Fingerprint&, Side, const ldifsplit::SplitRecord&)>;
  /// What is done with a name that stands in a file and belongs into others.
  using Misplaced =
      std::function<void(std::uint32_t, const Fingerprint&, const ldifsplit::SplitRecord&)>;

  void readAll(bool isFirst, const Visit& visit, const Misplaced& misplaced);
  void readInput(bool isFirst, const Visit& visit);
  void readExport(std::uint32_t number, bool isFirst, const Visit& visit,
                  const Misplaced& misplaced);
  void noteFault(const std::string& file, const ldifsplit::UnusableLine& line,
                 const std::string& what);
  void noteMisplaced(std::uint32_t file, const Fingerprint& print,
                     const ldifsplit::SplitRecord& record);
  bool canBeReadAgain() const;
  void lookCloser();
  void collect(std::size_t pass);
  void compare(const Name* begin, const Name* end);
  void open(Difference::Kind kind, const Name& name, std::uint64_t number);
  void nameOpen();

  const VarnelConfig& config_;
  const std::map<std::string, LdifActor*> actors_;
  const KeyedHash::Key key_;
  const std::size_t limit_;
  Differences differences_;
  std::vector<File> files_;
  std::map<std::string, std::uint32_t> numbers_;  // of the files, by name
  NameTable table_;
  std::uint64_t entries_ = 0;
  bool isExact_ = true;
  std::unordered_set<Fingerprint> misplaced_;  // a bounded number of them
  std::vector<Name> names_;                    // of a pass

  /// A difference whose DN is not known yet.
  struct Open {
    Difference::Kind kind;
    Name name;
    std::string dn;
  };
  std::vector<Open> open_;
};

void NamesVerifier::noteFault(const std::string& file, const ldifsplit::UnusableLine& line,
                              const std::string& what) {
  differences_.add({Difference::unusableLine, file, line.number, "",
                    (line.isDn ? "this is no usable DN" : "this is no LDIF line") + what, 0});
}

void NamesVerifier::readInput(bool isFirst, const Visit& visit) {
  // Each once, as an export has a base entry, though several servers may have one file.
  std::vector<std::uint32_t> holders;
  const auto each = [&](const ldifsplit::SplitRecord& record, const Fingerprint& print) {
    entries_ += isFirst ? 1 : 0;
    holders.clear();
    for (const std::string* name : record.files) {
      holders.push_back(numbers_.at(*name));
    }
    std::sort(holders.begin(), holders.end());
    holders.erase(std::unique(holders.begin(), holders.end()), holders.end());
    for (const std::uint32_t file : holders) {
      visit(file, print, Side::expected, record);
    }
  };
  const auto fault = [&](const ldifsplit::UnusableLine& line) {
    noteFault(config_.inputFile_, line, ": a split stops here");
  };
  NameReader reader(key_, each, isFirst ? NameReader::Fault(fault) : nullptr);
  const DiscardingObserver::End end =
      reader.run(config_.inputFile_, actors_, config_.defaultOutputFile_);
  if (!end.isWhole() && isFirst) {
    differences_.add({Difference::unusableLine, config_.inputFile_, end.line, "",
                      end.why + ": a split stops here", 0});
  }
}

void NamesVerifier::readExport(std::uint32_t number, bool isFirst, const Visit& visit,
                               const Misplaced& misplaced) {
  const File& file = files_[number];
  if (file.stored.empty()) {
    return;
  }
  struct stat status {};
  if (::stat(file.stored.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0) {
    return;
  }
  const auto each = [&](const ldifsplit::SplitRecord& record, const Fingerprint& print) {
    const bool belongs = std::any_of(record.files.begin(), record.files.end(),
                                     [&](const std::string* name) { return *name == file.name; });
    if (belongs) {
      visit(number, print, Side::found, record);
    } else if (misplaced != nullptr) {
      misplaced(number, print, record);
    }
  };
  const auto fault = [&](const ldifsplit::UnusableLine& line) { noteFault(file.stored, line, ""); };
  NameReader reader(key_, each, isFirst ? NameReader::Fault(fault) : nullptr);
  const DiscardingObserver::End end = reader.run(file.stored, actors_, config_.defaultOutputFile_);
  // A server without entries exports nothing.
  if (!end.isWhole() && end.stop != DiscardingObserver::Stop::emptyInput && isFirst) {
    differences_.add({Difference::unusableLine, file.stored, end.line, "", end.why, 0});
  }
}

void NamesVerifier::readAll(bool isFirst, const Visit& visit, const Misplaced& misplaced) {
  readInput(isFirst, visit);
  for (std::uint32_t number = 0; number < files_.size(); ++number) {
    readExport(number, isFirst, visit, misplaced);
  }
}

void NamesVerifier::noteMisplaced(std::uint32_t file, const Fingerprint& print,
                                  const ldifsplit::SplitRecord& record) {
  constexpr std::size_t mostMisplaced = 65536;
  if (misplaced_.size() < mostMisplaced) {
    misplaced_.insert(print);
  }
  ++files_[file].found;
  if (differences_.isFull()) {
    differences_.count(Difference::misplaced, 1);
    return;
  }
  std::string places;
  for (const std::string* name : record.files) {
    places += (places.empty() ? "" : " ") + *name;
  }
  differences_.add({Difference::misplaced, files_[file].name, record.line,
                    std::string(record.dn, record.dnSize), "it belongs in " + places, 0});
}

void NamesVerifier::run() {
  for (const File& file : files_) {
    if (file.stored.empty()) {
      differences_.add(
          {Difference::missingFile, file.name, 0, "", "expected an export of the server", 0});
    }
  }
  readAll(
      true,
      [&](std::uint32_t file, const Fingerprint& print, Side side,
          const ldifsplit::SplitRecord& /*record*/) {
        table_.add(file, print, side);
        ++(side == Side::expected ? files_[file].expected : files_[file].found);
      },
      [&](std::uint32_t file, const Fingerprint& print, const ldifsplit::SplitRecord& record) {
        noteMisplaced(file, print, record);
      });
  if (!table_.isEqual()) {
    lookCloser();
  }
}

bool NamesVerifier::canBeReadAgain() const {
  return isRegular(config_.inputFile_) &&
         std::all_of(files_.begin(), files_.end(), [](const File& file) {
           return file.stored.empty() || isRegular(file.stored);
         });
}

/// Finds out which names differ, some buckets at a time.
void NamesVerifier::lookCloser() {
  constexpr std::uint64_t mostNames = 1000000;
  constexpr std::size_t mostPasses = 16;
  const std::size_t wanted = table_.dividePasses(mostNames);
  const std::size_t passes = canBeReadAgain() ? std::min(wanted, mostPasses) : 0;
  for (std::size_t pass = 0; pass < passes; ++pass) {
    collect(pass);
  }
  nameOpen();
  if (passes < wanted) {
    isExact_ = false;
    const NameTable::Least least = table_.leastFrom(passes);
    differences_.count(Difference::missing, least.missing);
    differences_.count(Difference::foreign, least.foreign);
  }
}

void NamesVerifier::collect(std::size_t pass) {
  names_.clear();
  readAll(
      false,
      [&](std::uint32_t file, const Fingerprint& print, Side side,
          const ldifsplit::SplitRecord& record) {
        if (table_.isOfPass(file, print, pass)) {
          names_.push_back({print, file, record.line, side});
        }
      },
      nullptr);
  std::sort(names_.begin(), names_.end());
  const Name* const end = names_.data() + names_.size();
  for (const Name* begin = names_.data(); begin != end;) {
    const Name* next = begin;
    while (next != end && next->file == begin->file && next->print == begin->print) {
      ++next;
    }
    compare(begin, next);
    begin = next;
  }
}

/// All places of one name in one file.
void NamesVerifier::compare(const Name* begin, const Name* end) {
  const Name* const found =
      std::find_if(begin, end, [](const Name& name) { return name.side == Side::found; });
  const std::ptrdiff_t expectedCount = found - begin;
  const std::ptrdiff_t foundCount = end - found;
  const auto surplus = static_cast<std::uint64_t>(std::max(foundCount, expectedCount) -
                                                  std::min(foundCount, expectedCount));
  if (foundCount == 0 && misplaced_.count(begin->print) == 0) {
    open(Difference::missing, *begin, 1);
  } else if (expectedCount == 0) {
    open(Difference::foreign, *found, 1);
  }
  if (foundCount > std::max<std::ptrdiff_t>(expectedCount, 1)) {
    open(Difference::doubled, end[-1], expectedCount == 0 ? surplus - 1 : surplus);
  } else if (expectedCount > std::max<std::ptrdiff_t>(foundCount, 1)) {
    open(Difference::doubledInInput, found[-1], foundCount == 0 ? surplus - 1 : surplus);
  }
}

/// `number`: how often.
void NamesVerifier::open(Difference::Kind kind, const Name& name, std::uint64_t number) {
  if (open_.size() < limit_) {
    open_.push_back({kind, name, ""});
    --number;
  }
  differences_.count(kind, number);
}

/// Reads once more, for the DNs of the differences that will be named.
void NamesVerifier::nameOpen() {
  if (open_.empty()) {
    return;
  }
  std::map<Name, Open*> wanted;
  for (Open& each : open_) {
    wanted[each.name] = &each;
  }
  readAll(
      false,
      [&](std::uint32_t file, const Fingerprint& print, Side side,
          const ldifsplit::SplitRecord& record) {
        const auto found = wanted.find({print, file, record.line, side});
        if (found != wanted.end()) {
          found->second->dn.assign(record.dn, record.dnSize);
        }
      },
      nullptr);
  std::stable_sort(open_.begin(), open_.end(), [](const Open& a, const Open& b) {
    return std::tie(a.name.file, a.name.line) < std::tie(b.name.file, b.name.line);
  });
  for (const Open& each : open_) {
    const std::string& file = files_[each.name.file].name;
    const bool isInput = each.name.side == Side::expected;
    std::string expected = "expected here the entry";
    switch (each.kind) {
      case Difference::foreign:
        expected = "expected no such name: the input has none";
        break;
      case Difference::doubled:
        expected = "expected this name once";
        break;
      case Difference::doubledInInput:
        expected = "the input has this name more often, the last time in the entry";
        break;
      default:
        break;
    }
    differences_.add({each.kind, file, isInput ? 0 : each.name.line, each.dn, expected,
                      isInput ? each.name.line : 0});
  }
}

void NamesVerifier::addTo(nlohmann::ordered_json& result) const {
  result["entries"] = entries_;
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const File& file : files_) {
    list.push_back({{"file", file.name}, {"expected", file.expected}, {"found", file.found}});
  }
  result["files"] = list;
  result["exact"] = isExact_;
  differences_.addTo(result);
}

}  // namespace

ExitStatus verifyNames(const ConfigurationReading& reading, const VerifyOptions& options) {
  NamesVerifier verifier(reading, options.limit);
  verifier.run();
  const Differences& differences = verifier.differences();
  if (options.json) {
    nlohmann::ordered_json result;
    result["verb"] = "verify";
    result["mode"] = "names";
    result["good"] = differences.none();
    verifier.addTo(result);
    printJson(result);
  } else {
    differences.print();
    differences.printSummary("names of " + std::to_string(verifier.entries()) + " entries in " +
                                 std::to_string(verifier.files()) + " exports",
                             verifier.isExact());
  }
  return differences.none() ? ExitStatus::good : ExitStatus::wrong;
}
