#include "platform/text/withoutOuter.h"

#include <gtest/gtest.h>

#include "platform/text/ascii.h"

namespace {

TEST(WithoutOuter, BothEndsAndNothingElse) {
  EXPECT_EQ(text::withoutOuter(text::isAsciiWhiteSpace, " \ta  b\r\n"), "a  b");
  EXPECT_EQ(text::withoutOuter(text::isAsciiWhiteSpace, "a"), "a");
  EXPECT_EQ(text::withoutOuter(text::isAsciiWhiteSpace, " a"), "a");
  EXPECT_EQ(text::withoutOuter(text::isAsciiWhiteSpace, "a "), "a");
}

TEST(WithoutOuter, NothingLeft) {
  EXPECT_EQ(text::withoutOuter(text::isAsciiWhiteSpace, ""), "");
  EXPECT_EQ(text::withoutOuter(text::isAsciiWhiteSpace, " \n "), "");
}

TEST(WithoutOuter, TheCallerSaysWhatABlankIs) {
  EXPECT_EQ(text::withoutOuter([](char c) { return c == '-'; }, "-- a --"), " a ");
}

}  // namespace
