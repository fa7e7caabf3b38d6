#include "testsupport/FreshProcess.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

namespace {

int state = 0;

TEST(FreshProcess, StartsFromTheStateOfItsParentAndLeavesItAlone) {
  for (int round = 0; round < 2; ++round) {
    inFreshProcess([] {
      EXPECT_EQ(state, 0);
      state = 1;
    });
  }
  EXPECT_EQ(state, 0);
}

TEST(FreshProcess, FailedExpectationFailsHere) {
  EXPECT_NONFATAL_FAILURE(inFreshProcess([] { EXPECT_EQ(state, 7) << "told"; }), "told");
}

TEST(FreshProcess, FailedAssertionFailsHereAndEndsTheCall) {
  EXPECT_NONFATAL_FAILURE(inFreshProcess([] {
                            ASSERT_EQ(state, 7) << "told";
                            std::exit(1);
                          }),
                          "told");
}

TEST(FreshProcess, ExceptionFailsHere) {
  EXPECT_NONFATAL_FAILURE(inFreshProcess([] { throw std::runtime_error("x"); }), "exception");
}

TEST(FreshProcess, ExitStatusFailsHere) {
  EXPECT_NONFATAL_FAILURE(inFreshProcess([] { std::_Exit(1); }), "exit status");
}

TEST(FreshProcess, SignalFailsHere) {
  EXPECT_FATAL_FAILURE(inFreshProcess([] { std::abort(); }), "signal 6");
}

}  // namespace
