// What the name of an attribute type is made of, in DNs, in LDIF lines and in schema files alike.
#ifndef PLATFORM_TEXT_ATTRIBUTETYPE_H
#define PLATFORM_TEXT_ATTRIBUTETYPE_H

#include <array>
#include <cstddef>

#include "platform/text/ascii.h"

namespace text {

/// The look-up table behind isAttributeTypeCharacter, by the byte's value.
inline constexpr std::array<bool, 256> attributeTypeCharacters = [] {
  std::array<bool, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    const char c = static_cast<char>(byte);
    table[byte] = isAsciiLetter(c) || isAsciiDigit(c) || c == '-' || c == '_' || c == '.';
  }
  return table;
}();

/// Whether `c` may stand in the name or number of an attribute type: the letters, digits and `-` of
/// RFC 4512, section 1.4, the dots of numbers, and `_` and `.` in names, which real directories
/// have. Where they may stand in it is not restricted.
constexpr bool isAttributeTypeCharacter(char c) {
  return attributeTypeCharacters[static_cast<unsigned char>(c)];
}

}  // namespace text

#endif
