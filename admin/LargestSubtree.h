// Which part of a base DN is the largest that one server must hold.
#ifndef ADMIN_LARGESTSUBTREE_H
#define ADMIN_LARGESTSUBTREE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// Entries and their bytes.
struct Tally {
  std::uint64_t entries = 0;
  std::uint64_t bytes = 0;
};

/// Finds the largest, by bytes, of any number of subtrees whose entries come in any order, in
/// constant memory. It counts exactly as long as there are no more subtrees than counters. Then the
/// smaller half of the counters is given up, again and again: the most that one of those had is
/// what a subtree that is new, or comes again, may have had already. So the large ones, which are
/// never given up, keep exact counts.
class LargestSubtree {
 public:
  /// What is known of the one that was counted highest.
  struct Answer {
    std::string name;  ///< empty where there is none
    Tally least;
    Tally most;
    std::uint64_t bytesOfOthers = 0;  ///< no other subtree has more

    bool isExact() const { return least.bytes == most.bytes && bytesOfOthers <= least.bytes; }
  };

  /// `counters`: at least 2.
  explicit LargestSubtree(std::size_t counters);

  /// An entry of the subtree of that name begins. Of a very long name only the beginning is kept.
  void addEntry(const char* name, std::size_t size);

  /// It has so many bytes more. There must have been an entry.
  void addBytes(std::uint64_t bytes) { counters_[current_].counted.bytes += bytes; }

  Answer answer() const;

 private:
  using Index = std::uint32_t;  // of a counter

  struct Counter {
    std::uint64_t hash = 0;
    std::string name;
    Tally counted;
    Tally before;  // at most so much was lost before this counter counted

    std::uint64_t mostBytes() const { return counted.bytes + before.bytes; }
    bool isOf(const char* other, std::size_t size) const {
      return name.size() == size && std::memcmp(name.data(), other, size) == 0;
    }
  };

  std::size_t counterOf(std::uint64_t hash, const char* name, std::size_t size);
  Index* slotOf(std::uint64_t hash, const char* name, std::size_t size);
  void giveUpSmaller();

  static constexpr Index none = static_cast<Index>(-1);

  const std::size_t capacity_;
  std::vector<Counter> counters_;  // those behind the used ones keep their memory for the next
  std::size_t used_ = 0;
  std::vector<Index> slots_;          // a hash table with open addressing: indexes of counters
  std::vector<std::uint64_t> sizes_;  // while counters are given up
  std::size_t current_ = 0;           // the counter of the last entry, where there was one
  Tally lost_;                        // the most that a counter that was given up may have had
};

#endif
