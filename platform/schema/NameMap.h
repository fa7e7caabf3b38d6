// The container in which schemas keep what is found by name.
#ifndef PLATFORM_SCHEMA_NAMEMAP_H
#define PLATFORM_SCHEMA_NAMEMAP_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/text/equalIgnoringCase.h"

namespace schema {

/// The same number for texts that differ in the case of ASCII letters only.
struct NameHash {
  using is_transparent = void;

  std::size_t operator()(std::string_view name) const {
    std::uint64_t hash = name.size();
    for (const char c : name) {
      // The bit 0x20 is all that tells a letter from the other of its pair. That it makes some
      // signs alike, too, is for NameEqual to see.
      hash = (hash ^ (static_cast<unsigned char>(c) | 0x20U)) * 0x100000001B3U;
    }
    return static_cast<std::size_t>(hash);
  }
};

struct NameEqual {
  using is_transparent = void;

  bool operator()(std::string_view a, std::string_view b) const {
    return text::equalIgnoringCase(a, b);
  }
};

/// From names and dotted numbers, as written; asked for in any case. find() takes a string_view and
/// allocates nothing.
template <typename Key, typename Value>
using NameMap = std::unordered_map<Key, Value, NameHash, NameEqual>;

}  // namespace schema

#endif
