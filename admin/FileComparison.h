// One output file, side by side with what a split would write to it.
#ifndef ADMIN_FILECOMPARISON_H
#define ADMIN_FILECOMPARISON_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>

#include "admin/Differences.h"
#include "admin/EntryPrint.h"
#include "admin/KeyedHash.h"
#include "admin/ReadAhead.h"
#include "admin/Routing.h"
#include "admin/Unsettled.h"

/// What all comparisons of a run share.
struct ComparisonContext {
  Differences& differences;
  Unsettled& unsettled;
  const Routing& routing;
  KeyedHash::Key key;
  std::size_t capacity;  ///< bytes of a file to look at
  std::size_t window;    ///< entries of a file to look ahead at
};

/// Compares byte by byte as long as the file is right, an entry of any size in pieces. Behind a
/// difference it goes entry by entry, by fingerprints, and looks ahead in the file and in what is
/// expected until they agree again.
class FileComparison {
 public:
  /// `number`: of the file among those of the run. `headerAlone`: without entries the file may have
  /// the header alone; else it has to be empty.
  FileComparison(ComparisonContext& context, std::size_t number, const std::string& name,
                 bool headerAlone);

  /// An entry of that "dn" line of the input is expected next.
  void begins(std::int64_t inputLine, const char* dn, std::size_t dnSize);
  /// So many bytes of it.
  void takes(const char* bytes, std::size_t size);
  /// All of them have come.
  void ends();
  /// Nothing more is expected.
  void finish();

  const std::string& name() const { return name_; }
  std::uint64_t entries() const { return entries_; }
  std::uint64_t bytes() const { return bytes_; }

 private:
  /// Entries that wait for their like on the other side.
  class Queue {
   public:
    struct Item {
      EntryPrint print;
      std::int64_t line = 0;       // of the file: where it stands, or is expected
      std::int64_t differsAt = 0;  // of the file, where it is known
      std::string before;          // DN of the entry before it
    };

    bool empty() const { return items_.empty(); }
    std::size_t size() const { return items_.size(); }
    Item& front() { return items_.front(); }
    Item& back() { return items_.back(); }
    void push(Item item);
    void pop();
    /// The place of the first with that fingerprint, or none.
    std::size_t find(const Fingerprint& whole) const;
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

   private:
    std::deque<Item> items_;
    std::unordered_map<Fingerprint, std::uint64_t> places_;
    std::uint64_t popped_ = 0;
  };

  enum class Mode { sideBySide, lookingAhead, behindTheEnd };

  void takeHeader();
  bool needs(std::size_t size);
  bool isAtEntry();
  void spill();
  void diverge(const char* bytes, std::size_t size);
  bool readItem(EntryPrinter printer, std::size_t matched, Queue::Item& item);
  bool readFound();
  void matchHeads();
  void lookAhead();
  void makeRoom();
  void dropExpected(std::size_t count, bool atEnd = false);
  void dropFound(std::size_t count);
  void endHere();
  void report(Difference::Kind kind, std::int64_t line, const std::string& expected) const;
  void finishEmpty();

  ComparisonContext& context_;
  const std::size_t number_;
  const std::string name_;
  const bool headerAlone_;
  ReadAhead file_;
  bool exists_ = false;
  Mode mode_ = Mode::sideBySide;
  std::uint64_t entries_ = 0;
  std::uint64_t bytes_ = 0;

  // Of the entry that is expected.
  std::int64_t inputLine_ = 0;
  std::string dn_;           // cut
  std::size_t matched_ = 0;  // bytes of it that were found, behind those of spilled_
  bool isSpilled_ = false;   // it is large: its first bytes are in the printer, and read over
  std::size_t spilled_ = 0;
  std::int64_t spilledLine_ = 0;  // where it began
  EntryPrinter printer_;          // of what was expected, when not side by side
  std::size_t skipExpected_ = 0;  // bytes that the file lacks by a difference that is told already
  bool isCut_ = false;            // the file ended within it

  std::string previousDn_;  // of the last entry that was found
  Queue expected_;
  Queue found_;
  std::uint64_t gap_ = 0;
  std::size_t patience_ = 0;  // how many were given up for the first that is found
};

#endif
