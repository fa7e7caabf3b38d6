// The container in which schemas keep what is found by name.
#ifndef PLATFORM_SCHEMA_NAMEMAP_H
#define PLATFORM_SCHEMA_NAMEMAP_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/text/equalIgnoringCase.h"

namespace schema {

/// Gives the same number for texts that differ in the case of ASCII letters only. It is quick for
/// the short names that DNs are made of: each RDN that is normalised by a schema asks for one.
struct NameHash {
  using is_transparent = void;

  std::size_t operator()(std::string_view name) const {
    std::size_t hash = name.size();
    for (const char c : name) {
      // A capital and its small letter differ in the bit 0x20. With that bit set some other
      // characters become alike, too; NameEqual tells those apart.
      hash = hash * 31 + (static_cast<unsigned char>(c) | 0x20U);
    }
    return hash;
  }
};

/// Whether two names differ in the case of ASCII letters at most.
struct NameEqual {
  using is_transparent = void;

  bool operator()(std::string_view a, std::string_view b) const {
    return text::equalIgnoringCase(a, b);
  }
};

/// A map whose keys are names or dotted numbers, as they were written, and are found in any case.
/// `Key` is std::string, or std::string_view where something else keeps the texts. find() takes a
/// string_view and allocates nothing.
template <typename Key, typename Value>
using NameMap = std::unordered_map<Key, Value, NameHash, NameEqual>;

}  // namespace schema

#endif
