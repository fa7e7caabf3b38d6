#include "driver/terminalWidth.h"

#include <gtest/gtest.h>

#include "common/AutoClose.h"
#include "testsupport/Terminal.h"

namespace {

TEST(TerminalWidth, LeavesTheLastColumnFree) {
  EXPECT_EQ(terminalWidth(Terminal(100).stream()), 99U);
  EXPECT_EQ(terminalWidth(Terminal(1).stream()), 0U);
}

TEST(TerminalWidth, IsTheUsualOneWhereItIsNotKnown) {
  const AutoClose file(std::tmpfile());
  EXPECT_EQ(terminalWidth(file.get()), 79U);
  EXPECT_EQ(terminalWidth(Terminal(0).stream()), 79U);
}

TEST(IsTerminal, KnowsAFileFromATerminal) {
  const AutoClose file(std::tmpfile());
  EXPECT_FALSE(isTerminal(file.get()));
  EXPECT_TRUE(isTerminal(Terminal(80).stream()));
}

}  // namespace
