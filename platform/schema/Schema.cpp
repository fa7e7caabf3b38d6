#include "platform/schema/Schema.h"

#include <utility>

namespace schema {

Schema::ShortNames::ShortNames(std::size_t names) {
  std::size_t count = 2;
  while (count < 2 * names + 2) {
    count *= 2;
  }
  slots_.assign(count, Slot{0, Found{nullptr, false}});
}

void Schema::ShortNames::add(std::string_view name, Found found) {
  const std::uint64_t number = numberOf(name);
  std::size_t slot = firstSlot(number);
  while (slots_[slot].number != 0) {
    if (slots_[slot].number == number) {
      return;
    }
    slot = (slot + 1) % slots_.size();
  }
  slots_[slot] = Slot{number, found};
}

Schema::Schema(Definitions definitions)
    : attributeTypes_(std::move(definitions.attributeTypes)),
      otherNames_(std::move(definitions.otherNames)),
      shortNames_(countNames()) {
  // Twice as many buckets as names, so that most look-ups compare one name or none.
  byName_.max_load_factor(0.5F);
  for (const AttributeType& type : attributeTypes_) {
    addKey(type.oid, type);
    for (const std::string& name : type.names) {
      addKey(name, type);
    }
  }
}

std::size_t Schema::countNames() const {
  std::size_t count = 0;
  for (const AttributeType& type : attributeTypes_) {
    count += 1 + type.names.size();
  }
  return count;
}

void Schema::addKey(std::string_view key, const AttributeType& type) {
  if (key.empty()) {
    return;
  }
  if (key.size() <= ShortNames::maximalSize) {
    shortNames_.add(key, Found{&type, text::equalIgnoringCase(key, type.canonicalType)});
  } else {
    byName_.emplace(key, &type);
  }
}

Schema::Found Schema::findLong(std::string_view type) const {
  const auto found = byName_.find(type);
  if (found == byName_.end()) {
    return Found{nullptr, false};
  }
  return Found{found->second, text::equalIgnoringCase(type, found->second->canonicalType)};
}

std::string_view Schema::findObjectIdentifier(std::string_view name) const {
  if (const AttributeType* attribute = findAttributeType(name)) {
    return attribute->oid;
  }
  const auto found = otherNames_.find(name);
  return found != otherNames_.end() ? std::string_view(found->second) : std::string_view();
}

}  // namespace schema
