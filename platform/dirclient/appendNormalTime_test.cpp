#include "platform/dirclient/appendNormalTime.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>

namespace {

std::optional<std::string> normalTime(const std::string& value) {
  std::pmr::string text = "x";
  if (!dirclient::appendNormalTime(value, text)) {
    EXPECT_EQ(text, "x");
    return std::nullopt;
  }
  return std::string(text.substr(1));
}

struct Row {
  const char* name;
  const char* value;
  const char* normal;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class Instant : public ::testing::TestWithParam<Row> {};

TEST_P(Instant, HasOneSpelling) {
  EXPECT_EQ(normalTime(GetParam().value), GetParam().normal);
}

INSTANTIATE_TEST_SUITE_P(
    Times, Instant,
    ::testing::Values(Row{"Full", "20060102150405Z", "20060102150405Z"},
                      Row{"WithoutSeconds", "200601021504Z", "20060102150400Z"},
                      Row{"WithoutMinutes", "2006010215Z", "20060102150000Z"},
                      Row{"FractionOfASecond", "20060102150405.25Z", "20060102150405.25Z"},
                      Row{"FractionWithZerosAtTheEnd", "20060102150405.2500Z",
                          "20060102150405.25Z"},
                      Row{"FractionOfZero", "20060102150405.000Z", "20060102150405Z"},
                      Row{"CommaAsMark", "20060102150405,5Z", "20060102150405.5Z"},
                      Row{"FractionOfAMinute", "200601021504.5Z", "20060102150430Z"},
                      Row{"FractionOfAnHour", "2006010215.5Z", "20060102153000Z"},
                      // 0.51 h is 30.6 min; 0.6 min is 36 s.
                      Row{"FractionOfAnHourToSeconds", "2006010215.51Z", "20060102153036Z"},
                      // 0.001 h is 0.06 min is 3.6 s.
                      Row{"FractionOfAnHourToFractions", "2006010215.001Z", "20060102150003.6Z"},
                      Row{"AheadOfUtc", "20060102150405+0100", "20060102140405Z"},
                      Row{"BehindUtc", "20060102150405-0130", "20060102163405Z"},
                      Row{"ZoneOfHours", "20060102150405+01", "20060102140405Z"},
                      Row{"ToTheDayBefore", "20060101000000+0001", "20051231235900Z"},
                      Row{"ToTheDayAfter", "20081231233000-01", "20090101003000Z"},
                      Row{"LeapDay", "20080229120000Z", "20080229120000Z"},
                      Row{"ToALeapDay", "200803010030+0100", "20080229233000Z"},
                      Row{"LeapSecond", "20081231235960Z", "20081231235960Z"},
                      Row{"LastInstant", "99991231235959Z", "99991231235959Z"}),
    [](const auto& row) { return row.param.name; });

class NoTime : public ::testing::TestWithParam<Row> {};

TEST_P(NoTime, IsRefused) {
  EXPECT_EQ(normalTime(GetParam().value), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    Times, NoTime,
    ::testing::Values(
        Row{"Empty", "", ""}, Row{"NoZone", "20060102150405", ""}, Row{"NoHour", "20060102Z", ""},
        Row{"Month13", "20061302150405Z", ""}, Row{"Month0", "20060002150405Z", ""},
        Row{"Day0", "20060100150405Z", ""}, Row{"Day32", "20060132150405Z", ""},
        Row{"DayThatDoesNotExist", "20060229150405Z", ""}, Row{"Hour24", "20060102240000Z", ""},
        Row{"Minute60", "20060102156000Z", ""}, Row{"Second61", "20060102150461Z", ""},
        Row{"HalfAMinute", "2006010215040Z", ""}, Row{"MarkWithoutDigits", "20060102150405.Z", ""},
        Row{"MarkAtTheEnd", "20060102150405.", ""}, Row{"TwoMarks", "20060102150405.,5Z", ""},
        Row{"LetterBehindTheMark", "20060102150405.ZZ", ""},
        Row{"ZoneHour24", "20060102150405+24", ""}, Row{"ZoneMinute60", "20060102150405+0160", ""},
        Row{"ZoneOfThreeDigits", "20060102150405+010", ""},
        Row{"TextBehindTheZone", "20060102150405Zx", ""},
        Row{"BeforeTheYear0", "00000101000000+01", ""},
        Row{"BehindTheYear9999", "99991231233000-01", ""}, Row{"Letters", "2006010215040aZ", ""},
        Row{"Sign", "+006010215Z", ""}),
    [](const auto& row) { return row.param.name; });

TEST(Instant, FractionsOfAnyLength) {
  const std::string digits(100000, '3');
  EXPECT_TRUE(normalTime("2006010215." + digits + "Z").has_value());
}

}  // namespace
