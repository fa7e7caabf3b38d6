#include "config/WhitespacePredicate.h"

#include <gtest/gtest.h>

namespace {

TEST(WhitespacePredicate, KnowsTheSixWhiteSpaces) {
  int count = 0;
  for (int c = 0; c < 256; ++c) {
    count += WhitespacePredicate()(static_cast<char>(c)) ? 1 : 0;
  }
  EXPECT_EQ(count, 6);
  for (const char c : {' ', '\t', '\n', '\v', '\f', '\r'}) {
    EXPECT_TRUE(WhitespacePredicate()(c)) << static_cast<int>(c);
  }
}

}  // namespace
