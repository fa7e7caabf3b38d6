#include "platform/text/number.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

int decimalOf(const std::string& digits, int greatest) {
  return text::decimal(digits.data(), digits.size(), greatest);
}

TEST(LeadingInt, Numbers) {
  EXPECT_EQ(text::leadingInt("0"), 0);
  EXPECT_EQ(text::leadingInt("17"), 17);
  EXPECT_EQ(text::leadingInt("-17"), -17);
  EXPECT_EQ(text::leadingInt("+17"), 17);
  EXPECT_EQ(text::leadingInt("0017"), 17);
}

TEST(LeadingInt, WhatStandsAroundTheNumber) {
  EXPECT_EQ(text::leadingInt(" \t\n\v\f\r17"), 17);
  EXPECT_EQ(text::leadingInt(" -17 18"), -17);
  EXPECT_EQ(text::leadingInt("17th"), 17);
  EXPECT_EQ(text::leadingInt("1.9"), 1);
  EXPECT_EQ(text::leadingInt("0x12"), 0);
}

TEST(LeadingInt, NoNumber) {
  for (const char* text : {"", " ", "-", "+", "--1", "+-1", "- 1", "a1", ":", "/"}) {
    EXPECT_EQ(text::leadingInt(text), 0) << text;
  }
  EXPECT_EQ(text::leadingInt(std::string("\0", 1) + "1"), 0);
  EXPECT_EQ(text::leadingInt(std::string("1\0", 2) + "2"), 1);
}

TEST(LeadingInt, StaysWithinAnInt) {
  const long long greatest = INT_MAX;
  const long long least = INT_MIN;
  EXPECT_EQ(text::leadingInt(std::to_string(greatest)), INT_MAX);
  EXPECT_EQ(text::leadingInt(std::to_string(greatest + 1)), INT_MAX);
  EXPECT_EQ(text::leadingInt(std::to_string(least + 1)), INT_MIN + 1);
  EXPECT_EQ(text::leadingInt(std::to_string(least)), INT_MIN);
  EXPECT_EQ(text::leadingInt(std::to_string(least - 1)), INT_MIN);
  EXPECT_EQ(text::leadingInt("99999999999999999999999"), INT_MAX);
  EXPECT_EQ(text::leadingInt("-99999999999999999999999"), INT_MIN);
}

TEST(Decimal, UpToItsLimit) {
  EXPECT_EQ(decimalOf("0", 0), 0);
  EXPECT_EQ(decimalOf("1", 0), -1);
  EXPECT_EQ(decimalOf("65535", 65535), 65535);
  EXPECT_EQ(decimalOf("65536", 65535), -1);
  EXPECT_EQ(decimalOf("65540", 65535), -1);
  EXPECT_EQ(decimalOf("2147483647", INT_MAX), INT_MAX);
  EXPECT_EQ(decimalOf("2147483648", INT_MAX), -1);
  EXPECT_EQ(decimalOf("9999999999", INT_MAX), -1);
  EXPECT_EQ(decimalOf("99999999999999999999", INT_MAX), -1);
}

TEST(Decimal, ZerosBeforeTheNumber) {
  EXPECT_EQ(decimalOf("000000000000000000007", 7), 7);
}

TEST(Decimal, NoNumber) {
  for (const char* digits : {"", "-1", "+1", " 1", "1 ", "1a", "/", ":", "\xB2"}) {
    EXPECT_EQ(decimalOf(digits, 100), -1) << digits;
  }
}

}  // namespace
