#include "platform/schema/equalityRuleOf.h"

#include <gtest/gtest.h>

#include <string>

namespace schema {

namespace {

struct Row {
  const char* name;
  const char* oid;
  EqualityRule rule;
};

/// RFC 4517, section 4.2.
const Row rows[] = {
    {"bitStringMatch", "2.5.13.16", EqualityRule::bitString},
    {"booleanMatch", "2.5.13.13", EqualityRule::boolean},
    {"caseExactIA5Match", "1.3.6.1.4.1.1466.109.114.1", EqualityRule::caseExactIA5},
    {"caseExactMatch", "2.5.13.5", EqualityRule::caseExact},
    {"caseIgnoreIA5Match", "1.3.6.1.4.1.1466.109.114.2", EqualityRule::caseIgnoreIA5},
    {"caseIgnoreListMatch", "2.5.13.11", EqualityRule::caseIgnoreList},
    {"caseIgnoreMatch", "2.5.13.2", EqualityRule::caseIgnore},
    {"distinguishedNameMatch", "2.5.13.1", EqualityRule::distinguishedName},
    {"generalizedTimeMatch", "2.5.13.27", EqualityRule::generalizedTime},
    {"integerMatch", "2.5.13.14", EqualityRule::integer},
    {"numericStringMatch", "2.5.13.8", EqualityRule::numericString},
    {"objectIdentifierMatch", "2.5.13.0", EqualityRule::objectIdentifier},
    {"octetStringMatch", "2.5.13.17", EqualityRule::octetString},
    {"telephoneNumberMatch", "2.5.13.20", EqualityRule::telephoneNumber},
    {"caseIgnoreSubstringsMatch", "2.5.13.4", EqualityRule::none},
    {"uniqueMemberMatch", "2.5.13.23", EqualityRule::none},
};

class EqualityRuleRow : public ::testing::TestWithParam<Row> {};

TEST_P(EqualityRuleRow, IsFoundByNameInAnyCase) {
  EXPECT_EQ(equalityRuleOf(GetParam().name), GetParam().rule);
  std::string upper = GetParam().name;
  std::string lower = GetParam().name;
  for (std::size_t i = 0; i < upper.size(); ++i) {
    upper[i] = static_cast<char>(upper[i] >= 'a' && upper[i] <= 'z' ? upper[i] - 32 : upper[i]);
    lower[i] = static_cast<char>(lower[i] >= 'A' && lower[i] <= 'Z' ? lower[i] + 32 : lower[i]);
  }
  EXPECT_EQ(equalityRuleOf(upper), GetParam().rule);
  EXPECT_EQ(equalityRuleOf(lower), GetParam().rule);
}

TEST_P(EqualityRuleRow, IsFoundByNumber) {
  EXPECT_EQ(equalityRuleOf(GetParam().oid), GetParam().rule);
}

INSTANTIATE_TEST_SUITE_P(Rfc4517, EqualityRuleRow, ::testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(EqualityRuleOf, TakesNoPartOfAName) {
  for (const char* text : {"", "caseIgnoreMatc", "caseIgnoreMatchX", "2.5.13", "2.5.13.20 "}) {
    EXPECT_EQ(equalityRuleOf(text), EqualityRule::none) << text;
  }
}

}  // namespace

}  // namespace schema
