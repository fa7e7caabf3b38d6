#include "platform/schema/Schema.h"

#include <utility>

namespace schema {

Schema::Schema(Definitions definitions)
    : attributeTypes_(std::move(definitions.attributeTypes)),
      otherNames_(std::move(definitions.otherNames)) {
  // Twice as many buckets as names, so that most look-ups compare one name or none.
  byName_.max_load_factor(0.5F);
  for (const AttributeType& type : attributeTypes_) {
    addKey(type.oid, type);
    for (const std::string& name : type.names) {
      addKey(name, type);
    }
  }
}

void Schema::addKey(std::string_view key, const AttributeType& type) {
  byName_.emplace(key, &type);
}

const AttributeType* Schema::findAttributeType(std::string_view type) const {
  const auto found = byName_.find(type);
  return found != byName_.end() ? found->second : nullptr;
}

std::string_view Schema::findObjectIdentifier(std::string_view name) const {
  if (const AttributeType* attribute = findAttributeType(name)) {
    return attribute->oid;
  }
  const auto found = otherNames_.find(name);
  return found != otherNames_.end() ? std::string_view(found->second) : std::string_view();
}

}  // namespace schema
