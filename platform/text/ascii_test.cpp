#include "platform/text/ascii.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// The bytes for which the test says yes, in order.
template <typename Test>
std::string bytesOf(Test test) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    if (test(c)) {
      bytes += c;
    }
  }
  return bytes;
}

const std::string smallLetters = "abcdefghijklmnopqrstuvwxyz";
const std::string capitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

TEST(Ascii, Classes) {
  EXPECT_EQ(bytesOf(text::isAsciiLower), smallLetters);
  EXPECT_EQ(bytesOf(text::isAsciiUpper), capitals);
  EXPECT_EQ(bytesOf(text::isAsciiLetter), capitals + smallLetters);
  EXPECT_EQ(bytesOf(text::isAsciiDigit), "0123456789");
  EXPECT_EQ(bytesOf(text::isAsciiWhiteSpace), "\t\n\v\f\r ");
}

TEST(Ascii, Controls) {
  const std::string controls = bytesOf(text::isAsciiControl);
  ASSERT_EQ(controls.size(), 33U);
  for (std::size_t i = 0; i < 32; ++i) {
    EXPECT_EQ(controls[i], static_cast<char>(i));
  }
  EXPECT_EQ(controls.back(), '\x7F');
}

TEST(Ascii, CaseOfLetters) {
  for (std::size_t i = 0; i < capitals.size(); ++i) {
    EXPECT_EQ(text::toAsciiUpper(smallLetters[i]), capitals[i]);
    EXPECT_EQ(text::toAsciiUpper(capitals[i]), capitals[i]);
    EXPECT_EQ(text::toAsciiLower(capitals[i]), smallLetters[i]);
    EXPECT_EQ(text::toAsciiLower(smallLetters[i]), smallLetters[i]);
  }
}

TEST(Ascii, OtherBytesHaveNoCase) {
  for (const char c : bytesOf([](char byte) { return !text::isAsciiLetter(byte); })) {
    EXPECT_EQ(text::toAsciiUpper(c), c);
    EXPECT_EQ(text::toAsciiLower(c), c);
  }
}

}  // namespace
