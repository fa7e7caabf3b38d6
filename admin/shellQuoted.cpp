#include "admin/shellQuoted.h"

#include <algorithm>
#include <cstdio>

namespace {

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '/' ||
         c == '.' || c == '_' || c == '-' || c == '+' || c == '%' || c == ',' || c == ':' ||
         c == '@';
}

bool isControl(char c) {
  constexpr unsigned char firstBlank = 0x20;
  constexpr unsigned char rubout = 0x7F;
  const auto byte = static_cast<unsigned char>(c);
  return byte < firstBlank || byte == rubout;
}

}  // namespace

std::string shellQuoted(const std::string& text) {
  if (!text.empty() && std::all_of(text.begin(), text.end(), isPlain)) {
    return text;
  }
  const bool hasControl = std::any_of(text.begin(), text.end(), isControl);
  std::string quoted = hasControl ? "$'" : "'";
  for (const char c : text) {
    if (isControl(c)) {
      char octal[8];
      std::snprintf(octal, sizeof octal, "\\%03o", static_cast<unsigned int>(c) & 0xFFU);
      quoted += octal;
    } else if (c == '\'') {
      quoted += hasControl ? "\\'" : "'\\''";
    } else if (c == '\\' && hasControl) {
      quoted += "\\\\";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}
