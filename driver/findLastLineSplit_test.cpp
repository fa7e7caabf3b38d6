#include "driver/findLastLineSplit.h"

#include <gtest/gtest.h>

#include <ostream>

#include "testsupport/CapturedOutput.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/TracesOn.h"

namespace {

struct LogRow {
  const char* name;
  std::string log;
  int line;
};

void PrintTo(const LogRow& row, std::ostream* out) {
  *out << row.name;
}

class LastLineSplit : public ::testing::TestWithParam<LogRow> {};

TEST_P(LastLineSplit, IsTheNumberOnTheLastLine) {
  const TemporaryDirectory directory;
  const std::string log = directory.write("varnel.log", GetParam().log);
  EXPECT_EQ(findLastLineSplit(log), GetParam().line);
  EXPECT_EQ(directory.read("varnel.log"), GetParam().log);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, LastLineSplit,
    ::testing::Values(
        LogRow{"OneLine", "57\n", 57}, LogRow{"TwoLines", "12\n57\n", 57},
        LogRow{"NoLineFeedAtTheEnd", "12\n57", 57}, LogRow{"EmptyFile", "", 0},
        LogRow{"EmptyLastLine", "57\n\n", 0}, LogRow{"EmptyLineBefore", "12\n\n57\n", 57},
        LogRow{"LeadingBlanks", "12\n \t57\n", 57}, LogRow{"WordBehind", "12\n57 lines\n", 57},
        LogRow{"LettersDirectlyBehind", "57x\n", 57}, LogRow{"LettersOnly", "12\nlines\n", 0},
        LogRow{"WordBeforeTheNumber", "line 57\n", 0}, LogRow{"CarriageReturn", "57\r\n", 57},
        LogRow{"Negative", "-5\n", -5}, LogRow{"Plus", "+5\n", 5}, LogRow{"Decimal", "012\n", 12},
        LogRow{"NoHexadecimal", "0x12\n", 0}, LogRow{"Largest", "2147483647\n", 2147483647},
        LogRow{"TooLarge", "2147483648\n", 2147483647},
        LogRow{"FarTooLarge", "99999999999999999999\n", 2147483647},
        LogRow{"FarTooSmall", "-99999999999999999999\n", -2147483647 - 1},
        LogRow{"LongLine", std::string(100000, ' ') + "57\n", 57}),
    [](const ::testing::TestParamInfo<LogRow>& row) { return row.param.name; });

class LastLineSplitOfNoFile : public ::testing::Test {
 protected:
  TemporaryDirectory directory_;
};

TEST_F(LastLineSplitOfNoFile, IsZero) {
  const CapturedOutput output =
      captured([&] { EXPECT_EQ(findLastLineSplit(directory_.path("missing.log")), 0); });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_FALSE(directory_.has("missing.log"));
}

TEST_F(LastLineSplitOfNoFile, IsTraced) {
  const TracesOn traces;
  const std::string log = directory_.path("missing.log");
  EXPECT_EQ(captured([&] { findLastLineSplit(log); }).err,
            "c8010000 Warning:  recovery mode selected but logfile " + log +
                " cannot be read\n"
                "c8010000 recovery mode: last line split was 0\n");
}

TEST_F(LastLineSplitOfNoFile, DirectoryHasNoLine) {
  EXPECT_EQ(findLastLineSplit(directory_.name()), 0);
}

TEST_F(LastLineSplitOfNoFile, NumberOfAFileIsTraced) {
  const TracesOn traces;
  const std::string log = directory_.write("varnel.log", "12\n57\n");
  EXPECT_EQ(captured([&] { findLastLineSplit(log); }).err,
            "c8010000 recovery mode: last line split was 57\n");
}

}  // namespace
