#include "platform/text/hexadecimal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

TEST(Hexadecimal, ValueOfEveryByte) {
  const std::string capitals = "0123456789ABCDEF";
  const std::string smallLetters = "0123456789abcdef";
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    const std::size_t at = std::min(capitals.find(c), smallLetters.find(c));
    EXPECT_EQ(text::hexDigitValue(c), at == std::string::npos ? -1 : static_cast<int>(at)) << byte;
    EXPECT_EQ(text::isHexDigit(c), at != std::string::npos) << byte;
  }
}

TEST(Hexadecimal, EveryPair) {
  for (unsigned int byte = 0; byte < 256; ++byte) {
    char upper[3];
    char lower[3];
    std::snprintf(upper, sizeof upper, "%02X", byte);
    std::snprintf(lower, sizeof lower, "%02x", byte);
    EXPECT_EQ(text::upperHexDigit(byte >> 4U), upper[0]);
    EXPECT_EQ(text::upperHexDigit(byte), upper[1]);
    EXPECT_EQ(text::byteOfHexPair(upper[0], upper[1]), static_cast<char>(byte));
    EXPECT_EQ(text::byteOfHexPair(lower[0], lower[1]), static_cast<char>(byte));
  }
}

}  // namespace
