#include "platform/trace/trace.h"

#include <gtest/gtest.h>

#include "testsupport/CapturedOutput.h"

namespace {

class TraceTest : public ::testing::Test {
 protected:
  ~TraceTest() override { trcEvents = 0; }
};

TEST_F(TraceTest, EventsAreOffAtStart) {
  EXPECT_EQ(trcEvents, 0U);
}

TEST_F(TraceTest, LineStartsWithTheLevelInHexadecimal) {
  const CapturedOutput output = captured([] {
    ldtr_formater_global::debug(traceProgress, "reading conf file: %s | %s\n", "url", "ldap://a");
  });
  EXPECT_EQ(output.err, "c8010000 reading conf file: url | ldap://a\n");
}

TEST_F(TraceTest, MissingLineEndIsAdded) {
  const CapturedOutput output = captured([] { ldtr_formater_global::debug(traceError, "%d", 7); });
  EXPECT_EQ(output.err, "c8110000 7\n");
}

TEST_F(TraceTest, LongTextIsNotCut) {
  const std::string text(20000, 'x');
  const CapturedOutput output =
      captured([&] { ldtr_formater_global::debug(traceProgress, "%s\n", text.c_str()); });
  EXPECT_EQ(output.err, "c8010000 " + text + "\n");
}

TEST_F(TraceTest, ArgumentsAreNotEvaluatedWhileOff) {
  int evaluated = 0;
  const CapturedOutput output = captured([&] {
    TRACE(traceProgress, "%d\n", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    trcEvents = traceDebugEvent;
    TRACE(traceProgress, "%d\n", ++evaluated);
  });
  EXPECT_EQ(output.err, "c8010000 1\n");
}

TEST_F(TraceTest, OtherEventBitsDoNotSwitchTheToolsTracesOn) {
  trcEvents = ~traceDebugEvent;
  const CapturedOutput output = captured([] { TRACE(traceProgress, "%s\n", "unseen"); });
  EXPECT_EQ(output.err, "");
}

TEST_F(TraceTest, InitLeavesTheEventsAlone) {
  trcEvents = 5;
  ldtr_init();
  EXPECT_EQ(trcEvents, 5U);
}

}  // namespace
