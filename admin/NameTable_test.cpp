#include "admin/NameTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using Side = NameTable::Side;

Fingerprint nameOf(std::uint64_t number) {
  static const KeyedHash::Key key = {1, 2};
  const std::string text = std::to_string(number);
  return KeyedHash::of(key, text.data(), text.size());
}

TEST(NameTable, IsEqualWhereTheNamesAreInAnyOrder) {
  NameTable table(2);
  EXPECT_TRUE(table.isEqual());
  for (std::uint64_t i = 0; i < 5000; ++i) {
    table.add(i % 2, nameOf(i), Side::expected);
  }
  EXPECT_FALSE(table.isEqual());
  for (std::uint64_t i = 5000; i-- > 0;) {
    table.add(i % 2, nameOf(i), Side::found);
  }
  EXPECT_TRUE(table.isEqual());
}

TEST(NameTable, TellsFilesApart) {
  NameTable table(2);
  table.add(0, nameOf(1), Side::expected);
  table.add(1, nameOf(1), Side::found);
  EXPECT_FALSE(table.isEqual());
}

TEST(NameTable, CountsANameThatComesTwice) {
  NameTable table(1);
  for (const Side side : {Side::expected, Side::found, Side::found}) {
    table.add(0, nameOf(1), side);
  }
  EXPECT_FALSE(table.isEqual());
}

TEST(NameTable, DividesTheBucketsThatDifferAmongPasses) {
  constexpr std::uint64_t names = 40000;
  constexpr std::uint64_t most = 1000;
  NameTable table(3);
  for (std::uint64_t i = 0; i < names; ++i) {
    table.add(i % 3, nameOf(i), Side::expected);
    if (i % 4 != 0) {
      table.add(i % 3, nameOf(i), Side::found);
    }
  }
  const std::size_t passes = table.dividePasses(most);
  EXPECT_GT(passes, names / 4 / most);
  std::uint64_t seen = 0;
  for (std::size_t pass = 0; pass < passes; ++pass) {
    std::uint64_t ofPass = 0;
    for (std::uint64_t i = 0; i < names; ++i) {
      if (table.isOfPass(i % 3, nameOf(i), pass)) {
        ofPass += i % 4 == 0 ? 1 : 2;
        seen += i % 4 == 0 ? 1 : 0;
      }
    }
    EXPECT_LE(ofPass, most) << pass;
    EXPECT_GT(ofPass, 0U) << pass;
  }
  EXPECT_EQ(seen, names / 4);
  EXPECT_EQ(table.leastFrom(0).missing, names / 4);
  EXPECT_EQ(table.leastFrom(0).foreign, 0U);
  EXPECT_LT(table.leastFrom(1).missing, names / 4);
  EXPECT_GT(table.leastFrom(1).missing, 0U);
  EXPECT_EQ(table.leastFrom(passes).missing, 0U);
}

TEST(NameTable, KnowsTheLeastOfABucketOfEqualCounts) {
  NameTable table(1);
  Fingerprint one;
  Fingerprint other;  // of the same bucket
  one.high = other.high = 7;
  one.low = 1;
  other.low = 2;
  table.add(0, one, Side::expected);
  table.add(0, other, Side::found);
  EXPECT_EQ(table.dividePasses(10), 1U);
  EXPECT_EQ(table.leastFrom(0).missing, 1U);
  EXPECT_EQ(table.leastFrom(0).foreign, 1U);
}

}  // namespace
