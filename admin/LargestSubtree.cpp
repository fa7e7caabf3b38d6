#include "admin/LargestSubtree.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t longestName = 256;

/// FNV-1a, eight bits at a time, with a last step that spreads the low bits.
std::uint64_t hashOf(const char* name, std::size_t size) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (std::size_t i = 0; i < size; ++i) {
    hash = (hash ^ static_cast<unsigned char>(name[i])) * 0x100000001b3U;
  }
  return hash ^ (hash >> 32U);
}

}  // namespace

// In C++14 a constant that is taken by reference needs a definition of its own.
constexpr std::size_t LargestSubtree::none;

LargestSubtree::LargestSubtree(std::size_t counters) : capacity_(counters) {
  std::size_t slots = 4;
  while (slots < 2 * capacity_) {
    slots *= 2;
  }
  slots_.assign(slots, none);
}

void LargestSubtree::addEntry(const char* name, std::size_t size) {
  // Most exports have the entries of a subtree one behind the other.
  if (!counters_.empty() && size < longestName && counters_[current_].name.size() == size &&
      std::memcmp(counters_[current_].name.data(), name, size) == 0) {
    ++counters_[current_].counted.entries;
    return;
  }
  // Two long names with the same beginning and the same hash count as one.
  const std::uint64_t hash = hashOf(name, size);
  name_.assign(name, std::min(size, longestName));
  std::size_t* slot = slotOf(hash, name_);
  if (*slot == none) {
    if (counters_.size() == capacity_) {
      giveUpSmaller();
      slot = slotOf(hash, name_);
    }
    *slot = counters_.size();
    counters_.push_back({hash, name_, {}, lost_});
  }
  current_ = *slot;
  ++counters_[current_].counted.entries;
}

std::size_t* LargestSubtree::slotOf(std::uint64_t hash, const std::string& name) {
  const std::size_t mask = slots_.size() - 1;  // the number of slots is a power of two
  for (std::size_t at = static_cast<std::size_t>(hash) & mask;; at = (at + 1) & mask) {
    std::size_t& slot = slots_[at];
    if (slot == none || (counters_[slot].hash == hash && counters_[slot].name == name)) {
      return &slot;
    }
  }
}

void LargestSubtree::giveUpSmaller() {
  std::vector<std::uint64_t> sizes;
  sizes.reserve(counters_.size());
  for (const Counter& counter : counters_) {
    sizes.push_back(counter.mostBytes());
  }
  const auto middle = sizes.begin() + static_cast<std::ptrdiff_t>(sizes.size() / 2);
  std::nth_element(sizes.begin(), middle, sizes.end());
  const std::uint64_t limit = *middle;
  // Those with just as much go too, so that at least half of them do.
  std::size_t kept = 0;
  for (std::size_t i = 0; i < counters_.size(); ++i) {
    Counter& counter = counters_[i];
    if (counter.mostBytes() > limit) {
      std::swap(counters_[kept++], counter);
    } else {
      lost_.entries = std::max(lost_.entries, counter.counted.entries + counter.before.entries);
      lost_.bytes = std::max(lost_.bytes, counter.mostBytes());
    }
  }
  counters_.resize(kept, Counter());
  std::fill(slots_.begin(), slots_.end(), none);
  for (std::size_t i = 0; i < counters_.size(); ++i) {
    *slotOf(counters_[i].hash, counters_[i].name) = i;
  }
}

LargestSubtree::Answer LargestSubtree::answer() const {
  Answer answer;
  answer.bytesOfOthers = lost_.bytes;
  const auto largest = std::max_element(
      counters_.begin(), counters_.end(),
      [](const Counter& a, const Counter& b) { return a.counted.bytes < b.counted.bytes; });
  if (largest == counters_.end()) {
    return answer;
  }
  answer.name = largest->name;
  answer.least = largest->counted;
  answer.most = {largest->counted.entries + largest->before.entries, largest->mostBytes()};
  for (auto other = counters_.begin(); other != counters_.end(); ++other) {
    if (other != largest) {
      answer.bytesOfOthers = std::max(answer.bytesOfOthers, other->mostBytes());
    }
  }
  return answer;
}
