// Hexadecimal digits. C++14 can read this header.
#ifndef PLATFORM_TEXT_HEXADECIMAL_H
#define PLATFORM_TEXT_HEXADECIMAL_H

#include "platform/text/ascii.h"

namespace text {

/// The value of a hexadecimal digit in either case, or -1.
constexpr int hexDigitValue(char c) {
  if (isAsciiDigit(c)) {
    return c - '0';
  }
  const char upper = toAsciiUpper(c);
  return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

constexpr bool isHexDigit(char c) {
  return hexDigitValue(c) >= 0;
}

/// The byte that two hexadecimal digits stand for. Both have to be such digits.
constexpr char byteOfHexPair(char high, char low) {
  return static_cast<char>(hexDigitValue(high) * 16 + hexDigitValue(low));
}

/// The upper-case hexadecimal digit for the lowest four bits.
constexpr char upperHexDigit(unsigned int value) {
  return "0123456789ABCDEF"[value & 0xFU];
}

}  // namespace text

#endif
