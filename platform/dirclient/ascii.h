// ASCII classes and case, free of the locale.
#ifndef PLATFORM_DIRCLIENT_ASCII_H
#define PLATFORM_DIRCLIENT_ASCII_H

namespace dirclient {

constexpr bool isAsciiLower(char c) {
  return c >= 'a' && c <= 'z';
}

constexpr bool isAsciiUpper(char c) {
  return c >= 'A' && c <= 'Z';
}

constexpr bool isAsciiLetter(char c) {
  return isAsciiLower(c) || isAsciiUpper(c);
}

constexpr bool isAsciiDigit(char c) {
  return c >= '0' && c <= '9';
}

constexpr bool isAsciiControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

constexpr char toAsciiUpper(char c) {
  return isAsciiLower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}

/// The value of a hexadecimal digit in either case, or -1.
constexpr int hexDigitValue(char c) {
  if (isAsciiDigit(c)) {
    return c - '0';
  }
  const char upper = toAsciiUpper(c);
  return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

/// The upper-case hexadecimal digit for a value from 0 to 15.
constexpr char upperHexDigit(unsigned int value) {
  return "0123456789ABCDEF"[value & 0xFU];
}

}  // namespace dirclient

#endif
