#include "driver/sizeText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

struct Row {
  std::uint64_t bytes;
  const char* text;
};

class SizeText : public ::testing::TestWithParam<Row> {};

TEST_P(SizeText, HasTheUnitThatFits) {
  EXPECT_EQ(sizeText(GetParam().bytes), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SizeText,
    ::testing::Values(Row{0, "0 B"}, Row{999, "999 B"}, Row{1000, "1.0 kB"}, Row{1099, "1.0 kB"},
                      Row{1100, "1.1 kB"}, Row{99999, "99.9 kB"}, Row{100000, "100 kB"},
                      Row{999999, "999 kB"}, Row{1000000, "1.0 MB"}, Row{2500000000, "2.5 GB"},
                      Row{1000000000000, "1.0 TB"}, Row{1000000000000000, "1.0 PB"},
                      Row{std::numeric_limits<std::uint64_t>::max(), "18.4 EB"}));

}  // namespace
