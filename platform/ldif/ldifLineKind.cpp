#include "platform/ldif/ldifLineKind.h"

#include "platform/ldif/attributeDescription.h"
#include "platform/text/Bytes16.h"

namespace {

using text::Bytes16;
using text::bytesAtOnce;

/// The places of the bytes that are no part of an attribute type.
text::PlaceMask placesOutsideTypes(const char* at) {
  const Bytes16 bytes(at);
  const auto inTypes = bytes.between('a', 'z') | bytes.between('A', 'Z') | bytes.between('0', '9') |
                       bytes.between('-', '.') | bytes.equal('_');
  return ~inTypes.mask() & text::everyPlace;
}

/// The colon behind the attribute description that the line starts with, or a null pointer.
const char* descriptionEnd(const char* line) {
  const auto places = placesOutsideTypes(line);
  const char* end = places != 0 ? line + text::firstPlace(places) : nullptr;
  if (end == nullptr || *end == ';') {
    // It is longer, or has options.
    end = ldif::skipAttributeDescription(line);
  }
  return end != nullptr && end != line && *end == ':' ? end : nullptr;
}

/// The places of the bytes that are no digits of base64.
text::PlaceMask placesOutsideBase64(const char* at) {
  const Bytes16 bytes(at);
  const auto digits = bytes.between('a', 'z') | bytes.between('A', 'Z') | bytes.between('/', '9') |
                      bytes.equal('+');
  return ~digits.mask() & text::everyPlace;
}

/// Behind the digits of base64 from `at` to `end` at most.
const char* skipBase64Digits(const char* at, const char* end) {
  for (;; at += bytesAtOnce) {
    const auto places = placesOutsideBase64(at);
    if (places != 0) {
      const char* const stop = at + text::firstPlace(places);
      return stop < end ? stop : end;
    }
    if (static_cast<std::size_t>(end - at) <= bytesAtOnce) {
      return end;
    }
  }
}

/// Whether the bytes are base64 with folds in it: whole groups of four, padding at the end alone.
bool isFoldedBase64(const char* at, const char* end) {
  std::size_t characters = 0;
  while (at != end) {
    const char* const stop = skipBase64Digits(at, end);
    characters += static_cast<std::size_t>(stop - at);
    at = stop;
    if (end - at >= 2 && at[0] == '\n' && at[1] == ' ') {
      at += 2;
    } else {
      break;
    }
  }
  for (int padding = 0; padding < 2 && at != end && *at == '='; ++padding) {
    ++characters;
    ++at;
  }
  return at == end && characters % 4 == 0;
}

/// Whether a line feed or NUL is among the bytes.
bool hasLineFeedOrNul(const char* at, const char* end) {
  for (; at < end; at += bytesAtOnce) {
    const Bytes16 bytes(at);
    const auto places = (bytes.equal('\n') | bytes.equal('\0')).mask();
    if (places != 0) {
      return at + text::firstPlace(places) < end;
    }
  }
  return false;
}

/// Whether the value, behind "dn:", is written as the output has it: one blank, then the DN, which
/// neither starts with a blank nor ends with a carriage return.
bool isDnAsWritten(const char* value, const char* end) {
  return end - value >= 2 && value[0] == ' ' && value[1] != ' ' && end[-1] != '\r' &&
         !hasLineFeedOrNul(value, end);
}

}  // namespace

LdifLineKind ldifLineKind(const char* line, std::size_t size) {
  // The line feed stops every search below.
  if (size == 0 || line[size - 1] != '\n') {
    return LdifLineKind::other;
  }
  const char* const colon = descriptionEnd(line);
  if (colon == nullptr) {
    return LdifLineKind::other;
  }
  const char* const end = line + size - 1;
  const char* const value = colon + 1;
  if (colon - line == 2 && line[0] == 'd' && line[1] == 'n') {
    return isDnAsWritten(value, end) ? LdifLineKind::dn : LdifLineKind::other;
  }
  switch (*value) {
    case ':': {
      const char* digits = value + 1;
      while (*digits == ' ') {
        ++digits;
      }
      return isFoldedBase64(digits, end) ? LdifLineKind::attribute : LdifLineKind::other;
    }
    case '<':
    case '\r':
      return LdifLineKind::other;
    case '\n':
      // A fold right behind the colon may hide a second one.
      return value == end ? LdifLineKind::attribute : LdifLineKind::other;
    default:
      return LdifLineKind::attribute;
  }
}
