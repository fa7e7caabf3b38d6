// What the split makes of answers that the LDIF line parser does not give today. This program
// brings its own parser, which takes a line's first word for its orders; the split gets it in place
// of the real one by way of the linker's --wrap. No line has a colon, so that none is taken for one
// that needs no parser.

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "ldifsplit/LdifSplit.h"
#include "platform/ldif/str_parse_line_v_or_bv.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/messageLine.h"

namespace {

/// What the parser was called with.
struct Call {
  std::string line;
  int flag;
  bool resultsWereReset;
};

std::vector<Call> calls;

}  // namespace

extern "C" {

// The name is the linker's: that of str_parse_line_v_or_bv in an object file behind its "__wrap_".
// NOLINTBEGIN(bugprone-reserved-identifier)
int __wrap__Z22str_parse_line_v_or_bvPcPS_S0_PiiS0_S1_(char* line, char** type, char** value,
                                                       int* valueLength, int flag, char** url,
                                                       int* encoding) {
  calls.push_back({line, flag,
                   *type == nullptr && *value == nullptr && *valueLength == 0 && *url == nullptr &&
                       *encoding == 0});
  static char dnType[] = "dn";
  static char otherType[] = "other";
  static char dnValue[] = "o=x";
  int result = 0;
  if (std::strncmp(line, "record", 6) == 0) {
    *type = dnType;
    *value = dnValue;
  } else if (std::strncmp(line, "typed", 5) == 0) {
    *type = otherType;
    *value = dnValue;
    result = 7;
  } else if (std::strncmp(line, "skip", 4) == 0) {
    result = ldifLineSkipped;
  } else if (std::strncmp(line, "invalid", 7) == 0) {
    result = ldifLineInvalid;
  }
  // The line is the parser's to change.
  std::memset(line, '!', std::strlen(line));
  return result;
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"

namespace {

class LineWithoutType : public ::testing::Test {
 protected:
  LineWithoutType() { calls.clear(); }

  void expectOutputFailure(const std::string& input, int line) const {
    try {
      ldifsplit::ldifSplit(directory_.write("in.ldif", input), {}, output(), "", 0);
      ADD_FAILURE() << "no exception";
    } catch (const ldifsplit::SplitOutputException& failure) {
      EXPECT_EQ(failure.line(), line);
      EXPECT_EQ(failure.message(), output());
    }
  }

  std::string split(const std::string& input) const {
    ldifsplit::ldifSplit(directory_.write("in.ldif", input), {}, output(), "", 0);
    return directory_.read("a.ldif");
  }

  std::string output() const { return directory_.path("a.ldif"); }

  TemporaryDirectory directory_;
};

TEST_F(LineWithoutType, StopsTheRunAsAFailedWrite) {
  expectOutputFailure("record\nnothing\n continued\ntyped\n", 3);
}

TEST_F(LineWithoutType, StopsTheRunWhateverTheParserCallsIt) {
  expectOutputFailure("record\nskip\ntyped\n", 2);
}

TEST_F(LineWithoutType, IsNotWrittenBeforeTheFirstRecord) {
  EXPECT_EQ(split("nothing\nskip\nrecord\ntyped\n"), "version: 1\n\n\ndn: o=x\ntyped\n");
}

TEST_F(LineWithoutType, OtherResultsThanMinusOneAreSuccess) {
  EXPECT_EQ(split("record\ntyped 1\n 2\n"), "version: 1\n\n\ndn: o=x\ntyped 1\n 2\n");
}

TEST_F(LineWithoutType, MinusOneIsAnInvalidLine) {
  const std::string input = directory_.write("in.ldif", "record\ninvalid\n");
  const CapturedOutput printed = captured([&] {
    try {
      ldifsplit::ldifSplit(input, {}, output(), "", 0);
      ADD_FAILURE() << "no exception";
    } catch (const ldifsplit::LdifSplitException& failure) {
      EXPECT_EQ(failure.line(), 2);
      EXPECT_EQ(failure.message(), "Invalid LDIF line detected");
    }
  });
  EXPECT_EQ(printed.err, messageLine(33, {"2", input}));
}

TEST_F(LineWithoutType, ParserGetsTheLineAsReadAndResultsThatAreReset) {
  split("record\n# comment\ntyped 1\n 2\n\ntyped 3");
  ASSERT_EQ(calls.size(), 3U);
  EXPECT_EQ(calls[0].line, "record\n");
  EXPECT_EQ(calls[1].line, "typed 1\n 2\n");
  EXPECT_EQ(calls[2].line, "typed 3");
  for (const Call& call : calls) {
    EXPECT_EQ(call.flag, 1);
    EXPECT_TRUE(call.resultsWereReset);
  }
}

}  // namespace
