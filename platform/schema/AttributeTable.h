// The finished schema: a hash table over names and OIDs that never changes.
#ifndef PLATFORM_SCHEMA_ATTRIBUTETABLE_H
#define PLATFORM_SCHEMA_ATTRIBUTETABLE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/schema/Schema.h"

namespace schema {

class AttributeTable : public Schema {
 public:
  /// Each OID and name of `attributeTypes` is a key; where two have the same key the earlier one
  /// has it. `otherNames` holds OIDs of other definitions by their names in upper case.
  explicit AttributeTable(std::vector<AttributeType> attributeTypes,
                          std::unordered_map<std::string, std::string> otherNames = {});

  const AttributeType* findAttributeType(std::string_view type) const override;

  std::string_view findObjectIdentifier(std::string_view name) const override;

  std::size_t attributeTypeCount() const override { return attributeTypes_.size(); }

 private:
  /// A place of the table; `length` 0 is an empty one.
  struct Slot {
    std::uint32_t hash;
    std::uint32_t length;
    std::size_t firstWord;
    std::size_t attributeType;
  };

  void addKey(std::string_view key, std::size_t attributeType);
  bool hasKey(const Slot& slot, std::string_view key) const;

  std::vector<AttributeType> attributeTypes_;
  std::unordered_map<std::string, std::string> otherNames_;
  std::vector<Slot> slots_;           ///< a power of two of them, at least half of them empty
  std::vector<std::uint64_t> words_;  ///< the keys in upper case, eight bytes a word
};

}  // namespace schema

#endif
