#include "ldifsplit/LineCounter.h"

#include <gtest/gtest.h>

namespace {

using ldifsplit::LineCounter;

TEST(LineCounter, StartsAtZeroAndCountsByOne) {
  LineCounter counter;
  EXPECT_EQ(counter.number(), 0);
  counter.next();
  EXPECT_EQ(counter.number(), 1);
  counter.next();
  EXPECT_EQ(counter.number(), 2);
}

TEST(LineCounter, StaysAtTheLargestInt) {
  LineCounter counter(2147483646);
  counter.next();
  EXPECT_EQ(counter.number(), 2147483647);
  counter.next();
  EXPECT_EQ(counter.number(), 2147483647);
  counter.next();
  EXPECT_EQ(counter.number(), 2147483647);
}

}  // namespace
