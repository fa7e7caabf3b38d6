#include "ldifsplit/BaseDnIndex.h"

#include <cstring>

namespace ldifsplit {

// In C++14 a constant that is taken by reference needs a definition of its own.
constexpr std::size_t BaseDnIndex::none;

BaseDnIndex::BaseDnIndex(const std::vector<std::string>& baseDNs) : baseDNs_(baseDNs) {
  std::size_t slotCount = 2;
  while (slotCount < 2 * baseDNs.size() + 2) {
    slotCount *= 2;
  }
  slots_.assign(slotCount, none);
  for (std::size_t index = 0; index < baseDNs.size(); ++index) {
    const std::string& baseDn = baseDNs[index];
    if (find(baseDn.data(), baseDn.size()) != none) {
      continue;
    }
    sizes_.set(baseDn.size() % sizes_.size());
    std::size_t slot = hash(baseDn.data(), baseDn.size()) % slotCount;
    while (slots_[slot] != none) {
      slot = (slot + 1) % slotCount;
    }
    slots_[slot] = index;
  }
}

std::size_t BaseDnIndex::lookUp(const char* text, std::size_t size) const {
  const std::size_t mask = slots_.size() - 1;  // the number of slots is a power of two
  for (std::size_t slot = hash(text, size) & mask;; slot = (slot + 1) & mask) {
    const std::size_t index = slots_[slot];
    if (index == none ||
        (baseDNs_[index].size() == size && std::memcmp(baseDNs_[index].data(), text, size) == 0)) {
      return index;
    }
  }
}

/// Eight bytes at a time: a base DN has some thirty.
std::uint64_t BaseDnIndex::hash(const char* text, std::size_t size) {
  std::uint64_t hash = size;
  std::uint64_t word = 0;
  const auto mix = [&] {
    hash = (hash ^ word) * 0x9e3779b97f4a7c15U;
    hash ^= hash >> 32U;
  };
  std::size_t at = 0;
  for (; size - at >= sizeof word; at += sizeof word) {
    std::memcpy(&word, text + at, sizeof word);
    mix();
  }
  word = 0;
  for (; at < size; ++at) {
    word = word << 8U | static_cast<unsigned char>(text[at]);
  }
  mix();
  return hash;
}

}  // namespace ldifsplit
