#include "platform/schema/base64Decoded.h"

#include <array>
#include <cstdint>

namespace schema {

namespace {

/// The value of each digit, -1 for every other byte.
constexpr std::array<signed char, 256> digitValues() {
  constexpr std::string_view digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<signed char, 256> values{};
  values.fill(-1);
  for (std::size_t i = 0; i < digits.size(); ++i) {
    values[static_cast<unsigned char>(digits[i])] = static_cast<signed char>(i);
  }
  return values;
}

std::size_t paddingOf(std::string_view text) {
  if (text.ends_with("==")) {
    return 2;
  }
  return text.ends_with('=') ? 1 : 0;
}

}  // namespace

std::optional<std::string> base64Decoded(std::string_view text) {
  static constexpr std::array<signed char, 256> values = digitValues();
  if (text.size() % 4 != 0) {
    return std::nullopt;
  }
  text.remove_suffix(paddingOf(text));
  std::string decoded;
  decoded.reserve(text.size() / 4 * 3 + 2);
  std::uint32_t bits = 0;
  unsigned int bitCount = 0;
  for (const char c : text) {
    const signed char value = values[static_cast<unsigned char>(c)];
    if (value < 0) {
      return std::nullopt;
    }
    bits = bits << 6U | static_cast<std::uint32_t>(value);
    bitCount += 6;
    if (bitCount >= 8) {
      bitCount -= 8;
      decoded += static_cast<char>(bits >> bitCount & 0xFFU);
    }
  }
  return decoded;
}

}  // namespace schema
