#include "actors/generateOutputFilename.h"

#include <gtest/gtest.h>

#include <climits>
#include <ostream>

namespace {

struct NumberRow {
  const char* name;
  int number;
  const char* fileName;
};

void PrintTo(const NumberRow& row, std::ostream* out) {
  *out << row.name;
}

class OutputFilename : public ::testing::TestWithParam<NumberRow> {};

TEST_P(OutputFilename, HasTwoCharactersOfTheNumber) {
  EXPECT_EQ(nLdifActor::generateOutputFilename(GetParam().number), GetParam().fileName);
}

INSTANTIATE_TEST_SUITE_P(Numbers, OutputFilename,
                         ::testing::Values(NumberRow{"Zero", 0, "server00.ldif"},
                                           NumberRow{"One", 1, "server01.ldif"},
                                           NumberRow{"Seven", 7, "server07.ldif"},
                                           NumberRow{"Twelve", 12, "server12.ldif"},
                                           NumberRow{"Ninetynine", 99, "server99.ldif"},
                                           NumberRow{"Hundred", 100, "server10.ldif"},
                                           NumberRow{"HundredTwentythree", 123, "server12.ldif"},
                                           NumberRow{"MinusOne", -1, "server-0.ldif"},
                                           NumberRow{"MinusTwelve", -12, "server-1.ldif"},
                                           NumberRow{"Greatest", INT_MAX, "server21.ldif"},
                                           NumberRow{"Least", INT_MIN, "server-2.ldif"}),
                         [](const ::testing::TestParamInfo<NumberRow>& row) {
                           return row.param.name;
                         });

TEST(OutputFilename, IsMadeOfThePrefixAndTheSuffix) {
  EXPECT_STREQ(defaultLdifPrefix, "server");
  EXPECT_STREQ(defaultLdifSuffix, ".ldif");
}

}  // namespace
