// How an object identifier is written (RFC 4512, section 1.4).
#ifndef PLATFORM_SCHEMA_ISNUMERICOID_H
#define PLATFORM_SCHEMA_ISNUMERICOID_H

#include <algorithm>
#include <string_view>

#include "platform/text/ascii.h"
#include "platform/text/attributeType.h"

namespace schema {

/// numericoid: numbers without leading zeros, at least two, with dots.
constexpr bool isNumericOid(std::string_view text) {
  bool dots = false;
  std::size_t arcStart = 0;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    if (i < text.size() && text::isAsciiDigit(text[i])) {
      continue;
    }
    const std::size_t length = i - arcStart;
    if (length == 0 || (length > 1 && text[arcStart] == '0') ||
        (i < text.size() && text[i] != '.')) {
      return false;
    }
    dots = dots || i < text.size();
    arcStart = i + 1;
  }
  return dots;
}

/// descr, a short name: a letter, then what the types of a DN may hold; that is `_` and `.` beside
/// the characters of the RFC, as real schemas have them.
constexpr bool isDescr(std::string_view text) {
  return !text.empty() && text::isAsciiLetter(text.front()) &&
         std::all_of(text.begin(), text.end(), text::isAttributeTypeCharacter);
}

}  // namespace schema

#endif
