// ASCII classes and case. They are the same whatever the locale says, and no byte above 0x7F is in
// any of them, so the functions of <cctype> do not serve. C++14 can read this header.
#ifndef PLATFORM_TEXT_ASCII_H
#define PLATFORM_TEXT_ASCII_H

namespace text {

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

/// The space, and the tab, the line ends and the others from 0x09 to 0x0D.
constexpr bool isAsciiWhiteSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The bytes below the space, and DEL.
constexpr bool isAsciiControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

/// A small letter's capital; every other byte as it is.
constexpr char toAsciiUpper(char c) {
  return isAsciiLower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}

/// A capital's small letter; every other byte as it is.
constexpr char toAsciiLower(char c) {
  return isAsciiUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace text

#endif
