#include "config/toLower.h"

#include <gtest/gtest.h>

namespace {

char lowered(char c) {
  toLower(c);
  return c;
}

TEST(ToLower, LowersAsciiLettersAlone) {
  EXPECT_EQ(lowered('A'), 'a');
  EXPECT_EQ(lowered('Z'), 'z');
  EXPECT_EQ(lowered('a'), 'a');
  EXPECT_EQ(lowered('@'), '@');
  EXPECT_EQ(lowered('['), '[');
  EXPECT_EQ(lowered('\xc9'), '\xc9');
  EXPECT_EQ(lowered('\xff'), '\xff');
}

}  // namespace
