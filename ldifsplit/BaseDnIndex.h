// The base DNs of a run, to be found by their text.
#ifndef LDIFSPLIT_BASEDNINDEX_H
#define LDIFSPLIT_BASEDNINDEX_H

#include <bitset>
#include <cstddef>
#include <cstring>
#include <string>
#include <unordered_map>
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
    if (!sizes_[size % sizes_.size()]) {
      return none;
    }
    const auto found = indexes_.find(Text{text, size});
    return found != indexes_.end() ? found->second : none;
  }

 private:
  /// A text that stands elsewhere.
  struct Text {
    const char* data;
    std::size_t size;
  };

  struct Hash {
    std::size_t operator()(const Text& text) const;
  };

  struct Equal {
    bool operator()(const Text& a, const Text& b) const {
      return a.size == b.size && std::memcmp(a.data, b.data, a.size) == 0;
    }
  };

  std::bitset<256> sizes_;  // that base DNs have; a longer one counts as its remainder
  std::unordered_map<Text, std::size_t, Hash, Equal> indexes_;
};

}  // namespace ldifsplit

#endif
