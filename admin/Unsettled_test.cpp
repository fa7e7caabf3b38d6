#include "admin/Unsettled.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

std::uint64_t hashOf(const std::string& name) {
  return RecentNames::hash(name.data(), name.size());
}

TEST(RecentNames, KnowsThousandsOfNames) {
  constexpr int names = 20000;
  RecentNames recent;
  EXPECT_FALSE(recent.has(hashOf("cn=0")));
  for (int i = 0; i < names; ++i) {
    recent.add(hashOf("cn=" + std::to_string(i)));
  }
  for (int i = 0; i < names; ++i) {
    EXPECT_TRUE(recent.has(hashOf("cn=" + std::to_string(i)))) << i;
    EXPECT_FALSE(recent.has(hashOf("cn=" + std::to_string(i + names)))) << i;
  }
}

TEST(RecentNames, HasTheLastOfMoreThanItKeeps) {
  constexpr int names = 2000000;
  RecentNames recent;
  for (int i = 0; i < names; ++i) {
    recent.add(hashOf("cn=" + std::to_string(i)));
  }
  EXPECT_TRUE(recent.has(hashOf("cn=" + std::to_string(names - 1))));
  int first = 0;
  for (int i = 0; i < 1000; ++i) {
    first += recent.has(hashOf("cn=" + std::to_string(i))) ? 1 : 0;
  }
  EXPECT_LT(first, 1000);
}

TEST(RecentNames, HashesEveryByte) {
  const std::string name = "uid=user1,ou=people,dc=example";
  for (std::size_t i = 0; i < name.size(); ++i) {
    std::string other = name;
    other[i] = '!';
    EXPECT_NE(hashOf(other), hashOf(name)) << i;
    EXPECT_NE(hashOf(name.substr(0, i)), hashOf(name)) << i;
  }
  EXPECT_NE(hashOf(""), 0U);
}

}  // namespace
