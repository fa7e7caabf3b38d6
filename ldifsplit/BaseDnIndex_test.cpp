#include "ldifsplit/BaseDnIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

using ldifsplit::BaseDnIndex;
using Names = std::vector<std::string>;

std::size_t find(const BaseDnIndex& index, const std::string& dn) {
  return index.find(dn.data(), dn.size());
}

TEST(BaseDnIndex, FindsEachByItsExactBytes) {
  const Names names = {"CN=LOCALHOST", "O=X", "OU=A,O=X", "OU=B,O=X"};
  const BaseDnIndex index(names);
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(find(index, names[i]), i);
  }
  for (const char* other : {"", "O=Y", "o=x", "OU=C,O=X", "O=X ", "O=", "U=A,O=X"}) {
    EXPECT_EQ(find(index, other), BaseDnIndex::none) << other;
  }
}

TEST(BaseDnIndex, OfAnEmptyListFindsNothing) {
  const Names names;
  EXPECT_EQ(find(BaseDnIndex(names), "O=X"), BaseDnIndex::none);
  EXPECT_EQ(find(BaseDnIndex(names), ""), BaseDnIndex::none);
}

TEST(BaseDnIndex, OfTwoThatAreEqualFindsTheFirst) {
  const Names names = {"O=X", "O=Y", "O=X"};
  EXPECT_EQ(find(BaseDnIndex(names), "O=X"), 0U);
}

/// Texts that differ in one byte, of every length: whole words and what is left of one.
TEST(BaseDnIndex, TellsSimilarOnesApart) {
  Names names;
  for (std::size_t length = 0; length < 300; ++length) {
    names.push_back(std::string(length, 'A'));
    for (const std::size_t at : {std::size_t{0}, length / 2, length - 1}) {
      if (length > 0) {
        names.push_back(std::string(length, 'A'));
        names.back()[at] = static_cast<char>('B' + at % 3);
      }
    }
  }
  std::mt19937 random(1);
  std::shuffle(names.begin(), names.end(), random);
  const BaseDnIndex index(names);
  for (const std::string& name : names) {
    const auto first = std::find(names.begin(), names.end(), name);
    EXPECT_EQ(find(index, name), static_cast<std::size_t>(first - names.begin()));
    EXPECT_EQ(find(index, name + "?"), BaseDnIndex::none);
  }
}

}  // namespace
