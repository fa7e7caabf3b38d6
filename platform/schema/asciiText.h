// Letters and digits of schema files. They are ASCII whatever the locale says, so the functions of
// <cctype> do not serve.
#ifndef PLATFORM_SCHEMA_ASCIITEXT_H
#define PLATFORM_SCHEMA_ASCIITEXT_H

#include <string>
#include <string_view>

namespace schema {

constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

constexpr bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// What separates the tokens of a definition; line ends count, as a definition has many lines.
constexpr bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr char upperCase(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

inline std::string upperCase(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    c = upperCase(c);
  }
  return upper;
}

constexpr bool equalIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (upperCase(a[i]) != upperCase(b[i])) {
      return false;
    }
  }
  return true;
}

constexpr std::string_view withoutOuterBlanks(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && isBlank(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

/// numericoid of RFC 4512, section 1.4: numbers without leading zeros, at least two, with dots.
constexpr bool isNumericOid(std::string_view text) {
  bool dots = false;
  std::size_t arcStart = 0;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    if (i < text.size() && isDigit(text[i])) {
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

/// A short name: descr of RFC 4512, section 1.4, and also `_` and `.`, which real schemas have and
/// which the types of a DN may hold.
constexpr bool isDescr(std::string_view text) {
  if (text.empty() || !isLetter(text.front())) {
    return false;
  }
  for (const char c : text) {
    if (!isLetter(c) && !isDigit(c) && c != '-' && c != '_' && c != '.') {
      return false;
    }
  }
  return true;
}

}  // namespace schema

#endif
