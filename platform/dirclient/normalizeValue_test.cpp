#include "platform/dirclient/normalizeValue.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory_resource>
#include <string>
#include <string_view>

namespace {

using dirclient::appendNormalValue;
using schema::EqualityRule;

/// The escapes of the normal form, byte by byte.
std::string plainlyEscaped(const std::string& value) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string result;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const auto byte = static_cast<unsigned char>(value[i]);
    const bool isOuter = i == 0 || i + 1 == value.size();
    if (byte < 0x20 || byte == 0x7F || (byte == ' ' && isOuter)) {
      result += {'\\', digits[byte >> 4U], digits[byte & 0xFU]};
      continue;
    }
    if (std::string_view("\"+,;<>\\").find(value[i]) != std::string_view::npos ||
        (byte == '#' && i == 0)) {
      result += '\\';
    }
    result += value[i];
  }
  return result;
}

std::string normalValue(std::string_view value, EqualityRule rule) {
  std::pmr::string text = "OU=,+ ,CN=";
  appendNormalValue(value, rule, nullptr, 0, text);
  EXPECT_EQ(text.substr(0, 10), "OU=,+ ,CN=");
  return std::string(text.substr(10));
}

/// Byte FF stands in no UTF-8, so that preparation keeps the others, too.
TEST(Escapes, AreWrittenForEveryByteAtEveryPlace) {
  for (std::size_t size = 2; size <= 35; ++size) {
    for (std::size_t place = 0; place < size; ++place) {
      for (int byte = 0; byte < 0x100; ++byte) {
        std::string value(size, 'A');
        value[(place + 1) % size] = '\xFF';
        value[place] = static_cast<char>(byte);
        ASSERT_EQ(normalValue(value, EqualityRule::caseExact), plainlyEscaped(value));
        ASSERT_EQ(normalValue(value, EqualityRule::octetString), plainlyEscaped(value));
      }
    }
  }
}

TEST(Escapes, AreWrittenForSeveralBytes) {
  for (const char* value :
       {"", " ", "  ", "#", "##", "# ", " #", ",", ",,", "a,+b", " , ", "\\ "}) {
    EXPECT_EQ(normalValue(value, EqualityRule::octetString), plainlyEscaped(value));
  }
}

TEST(NormalValue, IsPreparedAndEscaped) {
  EXPECT_EQ(normalValue(" J\u00F6rg,  \u00C5kesson \u65E5\u672C ", EqualityRule::caseIgnore),
            "J\u00D6RG\\, \u00C5KESSON \u65E5\u672C");
  EXPECT_EQ(normalValue("a \u0301", EqualityRule::caseIgnore), "A \u0301");
  EXPECT_EQ(normalValue(" \u0301", EqualityRule::caseIgnore), "\\20\u0301");
}

}  // namespace
