#include "admin/LargestSubtree.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t longestName = 256;

/// Eight bytes at a time: a name has some twenty.
std::uint64_t hashOf(const char* name, std::size_t size) {
  std::uint64_t hash = size;
  const auto mix = [&hash](std::uint64_t word) {
    hash = (hash ^ word) * 0x9e3779b97f4a7c15U;
    hash ^= hash >> 32U;
  };
  std::uint64_t word = 0;
  std::size_t at = 0;
  for (; size - at >= sizeof word; at += sizeof word) {
    std::memcpy(&word, name + at, sizeof word);
    mix(word);
  }
  word = 0;
  std::memcpy(&word, name + at, size - at);
  mix(word);
  return hash;
}

}  // namespace

// In C++14 a constant that is taken by reference needs a definition of its own.
constexpr LargestSubtree::Index LargestSubtree::none;

LargestSubtree::LargestSubtree(std::size_t counters) : capacity_(counters) {
  std::size_t slots = 4;
  while (slots < 2 * capacity_) {
    slots *= 2;
  }
  slots_.assign(slots, none);
}

void LargestSubtree::addEntry(const char* name, std::size_t size) {
  const std::size_t kept = std::min(size, longestName);
  // Most exports have the entries of a subtree one behind the other.
  if (used_ == 0 || size >= longestName || !counters_[current_].isOf(name, kept)) {
    // Two long names with the same beginning and the same hash count as one.
    current_ = counterOf(hashOf(name, size), name, kept);
  }
  ++counters_[current_].counted.entries;
}

/// The counter of that name, a new one where it has none.
std::size_t LargestSubtree::counterOf(std::uint64_t hash, const char* name, std::size_t size) {
  Index* slot = slotOf(hash, name, size);
  if (*slot != none) {
    return *slot;
  }
  if (used_ == capacity_) {
    giveUpSmaller();
    slot = slotOf(hash, name, size);
  }
  if (used_ == counters_.size()) {
    counters_.emplace_back();
  }
  *slot = static_cast<Index>(used_);
  Counter& counter = counters_[used_];
  counter.hash = hash;
  counter.name.assign(name, size);
  counter.counted = {};
  counter.before = lost_;
  return used_++;
}

LargestSubtree::Index* LargestSubtree::slotOf(std::uint64_t hash, const char* name,
                                              std::size_t size) {
  const std::size_t mask = slots_.size() - 1;  // the number of slots is a power of two
  for (std::size_t at = static_cast<std::size_t>(hash) & mask;; at = (at + 1) & mask) {
    Index& slot = slots_[at];
    if (slot == none || (counters_[slot].hash == hash && counters_[slot].isOf(name, size))) {
      return &slot;
    }
  }
}

void LargestSubtree::giveUpSmaller() {
  sizes_.clear();
  for (std::size_t i = 0; i < used_; ++i) {
    sizes_.push_back(counters_[i].mostBytes());
  }
  const auto middle = sizes_.begin() + static_cast<std::ptrdiff_t>(sizes_.size() / 2);
  std::nth_element(sizes_.begin(), middle, sizes_.end());
  const std::uint64_t limit = *middle;
  // Those with just as much go too, so that at least half of them do.
  std::size_t kept = 0;
  for (std::size_t i = 0; i < used_; ++i) {
    Counter& counter = counters_[i];
    if (counter.mostBytes() > limit) {
      if (kept != i) {
        std::swap(counters_[kept], counter);
      }
      ++kept;
    } else {
      lost_.entries = std::max(lost_.entries, counter.counted.entries + counter.before.entries);
      lost_.bytes = std::max(lost_.bytes, counter.mostBytes());
    }
  }
  used_ = kept;
  std::fill(slots_.begin(), slots_.end(), none);
  for (std::size_t i = 0; i < used_; ++i) {
    const Counter& counter = counters_[i];
    *slotOf(counter.hash, counter.name.data(), counter.name.size()) = static_cast<Index>(i);
  }
}

LargestSubtree::Answer LargestSubtree::answer() const {
  Answer answer;
  answer.bytesOfOthers = lost_.bytes;
  if (used_ == 0) {
    return answer;
  }
  const auto end = counters_.begin() + static_cast<std::ptrdiff_t>(used_);
  const auto largest = std::max_element(
      counters_.begin(), end,
      [](const Counter& a, const Counter& b) { return a.counted.bytes < b.counted.bytes; });
  answer.name = largest->name;
  answer.least = largest->counted;
  answer.most = {largest->counted.entries + largest->before.entries, largest->mostBytes()};
  for (auto other = counters_.begin(); other != end; ++other) {
    if (other != largest) {
      answer.bytesOfOthers = std::max(answer.bytesOfOthers, other->mostBytes());
    }
  }
  return answer;
}
