#include "platform/schema/equalityRuleOf.h"

#include "platform/text/equalIgnoringCase.h"

namespace schema {

namespace {

struct MatchingRule {
  std::string_view name;
  std::string_view oid;
  EqualityRule rule;
};

constexpr MatchingRule matchingRules[] = {
    {"caseIgnoreMatch", "2.5.13.2", EqualityRule::caseIgnore},
    {"caseIgnoreIA5Match", "1.3.6.1.4.1.1466.109.114.2", EqualityRule::caseIgnoreIA5},
    {"caseIgnoreListMatch", "2.5.13.11", EqualityRule::caseIgnoreList},
    {"caseExactMatch", "2.5.13.5", EqualityRule::caseExact},
    {"caseExactIA5Match", "1.3.6.1.4.1.1466.109.114.1", EqualityRule::caseExactIA5},
    {"distinguishedNameMatch", "2.5.13.1", EqualityRule::distinguishedName},
    {"integerMatch", "2.5.13.14", EqualityRule::integer},
    {"numericStringMatch", "2.5.13.8", EqualityRule::numericString},
    {"telephoneNumberMatch", "2.5.13.20", EqualityRule::telephoneNumber},
    {"booleanMatch", "2.5.13.13", EqualityRule::boolean},
    {"generalizedTimeMatch", "2.5.13.27", EqualityRule::generalizedTime},
    {"objectIdentifierMatch", "2.5.13.0", EqualityRule::objectIdentifier},
    {"octetStringMatch", "2.5.13.17", EqualityRule::octetString},
    {"bitStringMatch", "2.5.13.16", EqualityRule::bitString},
};

}  // namespace

EqualityRule equalityRuleOf(std::string_view matchingRule) {
  for (const MatchingRule& known : matchingRules) {
    if (matchingRule == known.oid || text::equalIgnoringCase(matchingRule, known.name)) {
      return known.rule;
    }
  }
  return EqualityRule::none;
}

}  // namespace schema
