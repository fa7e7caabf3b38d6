#include "platform/text/base64.h"

#include <array>
#include <cstdint>

namespace text {
namespace {

constexpr std::uint8_t notInAlphabet = 0x80;

constexpr std::array<std::uint8_t, 256> sextets = [] {
  constexpr std::string_view alphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<std::uint8_t, 256> table{};
  table.fill(notInAlphabet);
  for (std::size_t i = 0; i < alphabet.size(); ++i) {
    table[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return table;
}();

std::uint32_t sextet(char c) {
  return sextets[static_cast<unsigned char>(c)];
}

/// Decodes one group of which `digits` characters (2 to 4) are not padding; false for a character
/// outside the alphabet.
bool decodeGroup(const char* group, std::size_t digits, char* out) {
  const std::uint32_t a = sextet(group[0]);
  const std::uint32_t b = sextet(group[1]);
  const std::uint32_t c = digits > 2 ? sextet(group[2]) : 0;
  const std::uint32_t d = digits > 3 ? sextet(group[3]) : 0;
  if (((a | b | c | d) & notInAlphabet) != 0) {
    return false;
  }
  const std::uint32_t bits = a << 18U | b << 12U | c << 6U | d;
  out[0] = static_cast<char>(bits >> 16U);
  if (digits > 2) {
    out[1] = static_cast<char>(bits >> 8U & 0xFFU);
  }
  if (digits > 3) {
    out[2] = static_cast<char>(bits & 0xFFU);
  }
  return true;
}

}  // namespace

std::optional<std::size_t> decodeBase64InPlace(char* text, std::size_t length) {
  if (length % 4 != 0) {
    return std::nullopt;
  }
  std::size_t digits = length;
  while (digits > 0 && length - digits < 2 && text[digits - 1] == '=') {
    --digits;
  }
  const char* in = text;
  char* out = text;
  for (; digits >= 4; digits -= 4, in += 4, out += 3) {
    if (!decodeGroup(in, 4, out)) {
      return std::nullopt;
    }
  }
  if (digits > 0) {
    if (!decodeGroup(in, digits, out)) {
      return std::nullopt;
    }
    out += digits - 1;
  }
  return static_cast<std::size_t>(out - text);
}

std::optional<std::string> base64Decoded(std::string_view text) {
  std::string bytes(text);
  const std::optional<std::size_t> length = decodeBase64InPlace(bytes.data(), bytes.size());
  if (!length) {
    return std::nullopt;
  }
  bytes.resize(*length);
  return bytes;
}

}  // namespace text
