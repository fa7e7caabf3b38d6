#include "common/LineText.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

TEST(LineText, IsDecimal) {
  EXPECT_STREQ(LineText(0).c_str(), "0");
  EXPECT_STREQ(LineText(57).c_str(), "57");
}

TEST(LineText, HoldsEveryInt) {
  EXPECT_STREQ(LineText(INT_MAX).c_str(), "2147483647");
  EXPECT_STREQ(LineText(INT_MIN).c_str(), "-2147483648");
}

}  // namespace
