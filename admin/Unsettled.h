// Entries that are expected and not found, and those that are found and not expected.
#ifndef ADMIN_UNSETTLED_H
#define ADMIN_UNSETTLED_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "admin/Differences.h"
#include "admin/EntryPrint.h"
#include "admin/Routing.h"

/// Fingerprints of the names that went by last, a bounded number of them.
class RecentNames {
 public:
  RecentNames() : slots_(sets * ways) {}

  static std::uint64_t hash(const char* name, std::size_t size);
  void add(std::uint64_t hash);
  bool has(std::uint64_t hash) const;

 private:
  static constexpr std::size_t sets = std::size_t{1} << 15U;
  static constexpr std::size_t ways = 8;

  std::vector<std::uint64_t> slots_;  // 0: free
  std::size_t next_ = 0;              // the way that is taken where all of a set are in use
};

/// Collects both kinds while the files are compared, and says in the end what has become of which:
/// an entry that is missed in one place and too much in another was moved. Memory is bounded: what
/// is too many is counted as missing and as foreign and not compared.
class Unsettled {
 public:
  struct Expected {
    std::size_t file;
    EntryPrint print;
    std::int64_t line;   ///< of the file, where it was expected
    std::uint64_t gap;   ///< a number for those that are missed and found together
    bool isAtEnd;        ///< the file ended before
    bool isCut = false;  ///< the file ended within it
  };

  struct Found {
    std::size_t file;
    EntryPrint print;
    std::int64_t differsAt;  ///< the line of the file that differs first, where it is known, or 0
    std::uint64_t gap;
    std::string before;  ///< DN of the entry that stands before it
  };

  Unsettled(Differences& differences, const Routing& routing, const std::vector<std::string>& files)
      : differences_(differences), routing_(routing), files_(files) {}

  void add(Expected entry);
  void add(Found entry);

  /// Whether a missing entry would still be kept.
  bool hasRoom() const { return expected_.size() < most; }

  /// Counts an entry that is missing at the end of the file, without a look at it.
  void countAtEnd(std::size_t file) {
    ++atEndUnseen_[file];
    differences_.count(Difference::missing, 1);
  }

  /// There is no such file, and that is said already.
  void noteMissingFile(std::size_t file) { missingFiles_.insert(file); }

  /// A number for a gap.
  std::uint64_t newGap() { return ++gaps_; }

  /// The names of the input, as they go by.
  RecentNames& names() { return names_; }

  /// Makes differences of all that there is, in the order of files and lines.
  void settle();

 private:
  static constexpr std::size_t most = 32768;

  void pairWhole(bool inSameFile);
  void pairNames();
  void pairBodies();
  void pairBeginnings();
  void settleFound();
  void settleExpected();
  void take(std::size_t expected, std::size_t found, Difference::Kind kind);
  void say(std::size_t file, Difference difference);
  std::string filesOf(const std::string& dn);

  Differences& differences_;
  const Routing& routing_;
  const std::vector<std::string>& files_;
  RecentNames names_;
  std::vector<Expected> expected_;
  std::vector<Found> found_;
  std::map<std::size_t, std::uint64_t> atEndUnseen_;  // by file
  std::set<std::size_t> missingFiles_;
  std::uint64_t gaps_ = 0;
  std::vector<bool> foundIsKnown_;  // its name went by before it was found
  std::vector<bool> expectedIsSettled_;
  std::vector<bool> foundIsSettled_;

  struct Said {
    std::size_t file;
    Difference difference;
  };
  std::vector<Said> said_;
};

#endif
