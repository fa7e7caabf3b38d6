#include "platform/schema/AttributeTable.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

#include "platform/schema/asciiText.h"

namespace schema {

namespace {

constexpr std::size_t wordBytes = 8;

constexpr std::uint64_t everyByte(unsigned char byte) {
  return 0x0101010101010101U * byte;
}

/// Eight bytes at once; bytes from 0x80 up stay as they are.
constexpr std::uint64_t upperCase(std::uint64_t bytes) {
  const std::uint64_t low = bytes & everyByte(0x7F);
  const std::uint64_t fromA = low + everyByte(0x80 - 'a');
  const std::uint64_t afterZ = low + everyByte(0x7F - 'z');
  const std::uint64_t lowerCase = (fromA ^ afterZ) & ~bytes & everyByte(0x80);
  return bytes - (lowerCase >> 2U);
}

/// The word at `offset`, with zeros after the end of the text. The last bytes are few, so a loop
/// serves them; a memcpy of variable length would be a call.
std::uint64_t wordAt(std::string_view text, std::size_t offset) {
  std::uint64_t word = 0;
  const std::size_t left = text.size() - offset;
  if (left >= wordBytes) {
    std::memcpy(&word, text.data() + offset, wordBytes);
    return word;
  }
  for (std::size_t i = 0; i < left; ++i) {
    word |= static_cast<std::uint64_t>(static_cast<unsigned char>(text[offset + i])) << (8 * i);
  }
  return word;
}
static_assert(std::endian::native == std::endian::little, "wordAt reads both ways alike");

std::uint32_t hashOf(std::string_view key) {
  constexpr std::uint64_t multiplier = 0x9E3779B97F4A7C15U;
  std::uint64_t hash = key.size();
  for (std::size_t offset = 0; offset < key.size(); offset += wordBytes) {
    hash = (hash ^ upperCase(wordAt(key, offset))) * multiplier;
    hash ^= hash >> 32U;
  }
  return static_cast<std::uint32_t>(hash);
}

std::size_t keyCount(const std::vector<AttributeType>& attributeTypes) {
  std::size_t count = 0;
  for (const AttributeType& one : attributeTypes) {
    count += 1 + one.names.size();
  }
  return count;
}

}  // namespace

AttributeTable::AttributeTable(std::vector<AttributeType> attributeTypes,
                               std::unordered_map<std::string, std::string> otherNames)
    : attributeTypes_(std::move(attributeTypes)),
      otherNames_(std::move(otherNames)),
      slots_(std::bit_ceil(2 * keyCount(attributeTypes_) + 1)) {
  for (std::size_t i = 0; i < attributeTypes_.size(); ++i) {
    addKey(attributeTypes_[i].oid, i);
    for (const std::string& name : attributeTypes_[i].names) {
      addKey(name, i);
    }
  }
}

bool AttributeTable::hasKey(const Slot& slot, std::string_view key) const {
  std::size_t word = slot.firstWord;
  for (std::size_t offset = 0; offset < key.size(); offset += wordBytes, ++word) {
    if (words_[word] != upperCase(wordAt(key, offset))) {
      return false;
    }
  }
  return true;
}

void AttributeTable::addKey(std::string_view key, std::size_t attributeType) {
  if (key.empty() || key.size() > std::numeric_limits<std::uint32_t>::max()) {
    return;
  }
  const std::uint32_t hash = hashOf(key);
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  for (; slots_[at].length != 0; at = (at + 1) & mask) {
    if (slots_[at].hash == hash && slots_[at].length == key.size() && hasKey(slots_[at], key)) {
      return;
    }
  }
  slots_[at] = {hash, static_cast<std::uint32_t>(key.size()), words_.size(), attributeType};
  for (std::size_t offset = 0; offset < key.size(); offset += wordBytes) {
    words_.push_back(upperCase(wordAt(key, offset)));
  }
}

const AttributeType* AttributeTable::findAttributeType(std::string_view type) const {
  const std::uint32_t hash = hashOf(type);
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = hash & mask; slots_[at].length != 0; at = (at + 1) & mask) {
    const Slot& slot = slots_[at];
    if (slot.hash == hash && slot.length == type.size() && hasKey(slot, type)) {
      return &attributeTypes_[slot.attributeType];
    }
  }
  return nullptr;
}

std::string_view AttributeTable::findObjectIdentifier(std::string_view name) const {
  if (const AttributeType* attribute = findAttributeType(name)) {
    return attribute->oid;
  }
  const auto found = otherNames_.find(schema::upperCase(name));
  return found != otherNames_.end() ? std::string_view(found->second) : std::string_view();
}

}  // namespace schema
