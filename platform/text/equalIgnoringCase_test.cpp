#include "platform/text/equalIgnoringCase.h"

#include <gtest/gtest.h>

namespace {

using text::equalIgnoringCase;

TEST(EqualIgnoringCase, Equal) {
  EXPECT_TRUE(equalIgnoringCase("", ""));
  EXPECT_TRUE(equalIgnoringCase("LDAPs", "ldapS"));
  EXPECT_TRUE(equalIgnoringCase("a-1\xC3\xA9", "A-1\xC3\xA9"));
}

TEST(EqualIgnoringCase, Different) {
  EXPECT_FALSE(equalIgnoringCase("ldap", "ldaps"));
  EXPECT_FALSE(equalIgnoringCase("", "a"));
  EXPECT_FALSE(equalIgnoringCase("base", "bose"));
  EXPECT_FALSE(equalIgnoringCase("one", "onf"));
  // Bytes that differ in the bit that tells small letters from capitals, but are no letters.
  EXPECT_FALSE(equalIgnoringCase("@", "`"));
  EXPECT_FALSE(equalIgnoringCase("[", "{"));
  EXPECT_FALSE(equalIgnoringCase("\xC3\x89", "\xC3\xA9"));
}

}  // namespace
