#include "ldifsplit/BaseDnIndex.h"

#include <cstdint>

namespace ldifsplit {

// In C++14 a constant that is taken by reference needs a definition of its own.
constexpr std::size_t BaseDnIndex::none;

BaseDnIndex::BaseDnIndex(const std::vector<std::string>& baseDNs) {
  for (std::size_t i = 0; i < baseDNs.size(); ++i) {
    sizes_.set(baseDNs[i].size() % sizes_.size());
    indexes_.emplace(Text{baseDNs[i].data(), baseDNs[i].size()}, i);
  }
}

/// Eight bytes at a time: a base DN has some thirty.
std::size_t BaseDnIndex::Hash::operator()(const Text& text) const {
  std::uint64_t hash = text.size;
  std::uint64_t word = 0;
  const auto mix = [&] {
    hash = (hash ^ word) * 0x9e3779b97f4a7c15U;
    hash ^= hash >> 32U;
  };
  std::size_t at = 0;
  for (; text.size - at >= sizeof word; at += sizeof word) {
    std::memcpy(&word, text.data + at, sizeof word);
    mix();
  }
  word = 0;
  for (; at < text.size; ++at) {
    word = word << 8U | static_cast<unsigned char>(text.data[at]);
  }
  mix();
  return static_cast<std::size_t>(hash);
}

}  // namespace ldifsplit
