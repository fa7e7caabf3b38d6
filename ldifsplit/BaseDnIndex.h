// The base DNs of a run, to be found by their text.
#ifndef LDIFSPLIT_BASEDNINDEX_H
#define LDIFSPLIT_BASEDNINDEX_H

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ldifsplit {

/// Finds a base DN in a list by its exact bytes, however long the list is. The way up from an entry
/// asks at every step, and nearly always in vain.
class BaseDnIndex {
 public:
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  /// The list has to outlive the index, and must not change.
  explicit BaseDnIndex(const std::vector<std::string>& baseDNs);

  /// The index in the list of the first base DN of exactly these bytes, or none.
  std::size_t find(const char* text, std::size_t size) const {
    return sizes_[size % sizes_.size()] ? lookUp(text, size) : none;
  }

 private:
  static std::uint64_t hash(const char* text, std::size_t size);
  std::size_t lookUp(const char* text, std::size_t size) const;

  const std::vector<std::string>& baseDNs_;
  std::bitset<256> sizes_;  // that base DNs have; a longer one counts as its remainder
  // A hash table with open addressing, at most half full: indexes in the list, and none.
  std::vector<std::size_t> slots_;
};

}  // namespace ldifsplit

#endif
