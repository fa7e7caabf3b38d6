#include "platform/text/upperCaseCopy.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// Every byte there is, at places that move with the length.
std::string bytesOfLength(std::size_t length) {
  std::string bytes;
  for (std::size_t i = 0; i < length; ++i) {
    bytes += static_cast<char>(i * 37 + length);
  }
  return bytes;
}

std::string expected(std::string bytes) {
  for (char& c : bytes) {
    c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  }
  return bytes;
}

TEST(UpperCaseCopy, OfEveryLength) {
  for (std::size_t length = 0; length < 600; ++length) {
    const std::string bytes = bytesOfLength(length);
    std::string copy(length + 1, '!');
    text::upperCaseCopy(bytes.data(), length, copy.data());
    EXPECT_EQ(copy, expected(bytes) + "!");
  }
}

TEST(UpperCaseCopy, InPlace) {
  for (std::size_t length = 0; length < 100; ++length) {
    std::string bytes = bytesOfLength(length);
    const std::string capitals = expected(bytes);
    text::upperCaseCopy(bytes.data(), length, bytes.data());
    EXPECT_EQ(bytes, capitals);
  }
}

}  // namespace
