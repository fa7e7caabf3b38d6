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

TEST(LineCounter, CountsSeveralLinesAtOnce) {
  LineCounter counter(5);
  counter.next(7);
  EXPECT_EQ(counter.number(), 12);
  counter.next(0);
  EXPECT_EQ(counter.number(), 12);
  LineCounter high(2147483000);
  high.next(646);
  EXPECT_EQ(high.number(), 2147483646);
  high.next(100);
  EXPECT_EQ(high.number(), 2147483647);
}

}  // namespace
