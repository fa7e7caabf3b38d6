#include "platform/schema/Builder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "testsupport/SchemaProbe.h"

namespace schema {

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string definition(const std::string& rest) {
  return "attributetype ( " + rest + " )\n";
}

EqualityRule equalityOf(const Schema& schema, std::string_view type) {
  const AttributeType* found = schema.findAttributeType(type);
  EXPECT_NE(found, nullptr) << type;
  return found != nullptr ? found->equality : EqualityRule::none;
}

TEST(Builder, CanonicalTypeIsTheFirstNameInUpperCase) {
  SchemaProbe probe;
  probe.parse(definition("1.1 NAME ( 'surName' 'sn' ) SYNTAX 1.2") + definition("1.2 SYNTAX 1.2") +
              definition("1.3 NAME 'x-y_z.9' SYNTAX 1.2"));
  const auto schema = probe.complete();
  EXPECT_EQ(schema->findAttributeType("SN")->canonicalType, "SURNAME");
  EXPECT_EQ(schema->findAttributeType("sn")->names, (std::vector<std::string>{"surName", "sn"}));
  EXPECT_EQ(schema->findAttributeType("1.2")->canonicalType, "1.2");
  EXPECT_EQ(schema->findAttributeType("1.3")->canonicalType, "X-Y_Z.9");
}

TEST(Builder, CnIsAlwaysCnWhereverThatNameStands) {
  SchemaProbe probe;
  probe.parse(definition("2.5.4.3 NAME ( 'commonName' 'cN' ) SYNTAX 1.2"));
  const auto schema = probe.complete();
  EXPECT_EQ(schema->findAttributeType("commonname")->canonicalType, "CN");
}

TEST(Builder, NamesOfOtherDefinitionsStandForTheirNumbers) {
  SchemaProbe probe;
  probe.parse("objectclass ( 2.5.6.6 NAME 'person' SUP top STRUCTURAL )\n" +
              definition("2.5.4.4 NAME 'sn' SYNTAX 1.2"));
  const auto schema = probe.complete();
  EXPECT_EQ(schema->findObjectIdentifier("Person"), "2.5.6.6");
  EXPECT_EQ(schema->findObjectIdentifier("SN"), "2.5.4.4");
  EXPECT_EQ(schema->findObjectIdentifier("unknown"), "");
}

TEST(Builder, EqualityIsInheritedThroughTheChain) {
  SchemaProbe probe;
  probe.parse(definition("1.4 NAME 'leaf' SUP 1.3") + definition("1.3 NAME 'inner' SUP ALIAS") +
              definition("1.2 NAME ( 'branch' 'alias' ) SUP root SYNTAX 1.9") +
              definition("1.1 NAME 'root' EQUALITY 2.5.13.5 SYNTAX 1.9") +
              definition("1.5 NAME 'own' SUP leaf EQUALITY INTEGERMATCH") +
              definition("1.6 NAME 'unlisted' SUP leaf EQUALITY certificateExactMatch") +
              definition("1.7 NAME 'below' SUP unlisted") +
              definition("1.8 NAME 'without' SYNTAX 1.9"));
  const auto schema = probe.complete();
  EXPECT_THAT(probe.problems(), IsEmpty());
  for (const char* type : {"root", "branch", "inner", "leaf"}) {
    EXPECT_EQ(equalityOf(*schema, type), EqualityRule::caseExact) << type;
  }
  EXPECT_EQ(equalityOf(*schema, "own"), EqualityRule::integer);
  EXPECT_EQ(equalityOf(*schema, "unlisted"), EqualityRule::none);
  EXPECT_EQ(equalityOf(*schema, "below"), EqualityRule::none);
  EXPECT_EQ(equalityOf(*schema, "without"), EqualityRule::none);
}

TEST(Builder, MissingSupertypeMakesTheTypeAndThoseBelowUnknown) {
  SchemaProbe probe;
  probe.parse(definition("1.1 NAME 'a' SUP nowhere EQUALITY caseExactMatch") +
              definition("1.2 NAME 'b' SUP a") + definition("1.3 NAME 'c' SYNTAX 1.9"));
  const auto schema = probe.complete();
  EXPECT_EQ(schema->findAttributeType("a"), nullptr);
  EXPECT_EQ(schema->findAttributeType("1.1"), nullptr);
  EXPECT_EQ(schema->findAttributeType("b"), nullptr);
  EXPECT_NE(schema->findAttributeType("c"), nullptr);
  EXPECT_EQ(probe.attributeTypeCount(), 1U);
  ASSERT_EQ(probe.problems().size(), 2U);
  EXPECT_EQ(probe.problems()[0].kind, Problem::Kind::missingSupertype);
  EXPECT_EQ(probe.problems()[0].line, 1U);
  EXPECT_THAT(probe.problems()[0].reason, HasSubstr("\"a\" with SUP \"nowhere\""));
  EXPECT_EQ(probe.problems()[1].kind, Problem::Kind::missingSupertype);
  EXPECT_EQ(probe.problems()[1].line, 2U);
  EXPECT_THAT(probe.problems()[1].reason, HasSubstr("\"b\" with SUP \"a\""));
}

TEST(Builder, CycleMakesItsMembersAndThoseBelowUnknown) {
  SchemaProbe probe;
  probe.parse(definition("1.1 NAME 'a' SUP b") + definition("1.2 NAME 'b' SUP c") +
              definition("1.3 NAME 'c' SUP a") + definition("1.4 NAME 'd' SUP a") +
              definition("1.5 NAME 'self' SUP self") + definition("1.6 NAME 'e' SYNTAX 1.9"));
  EXPECT_NE(probe.complete()->findAttributeType("e"), nullptr);
  EXPECT_EQ(probe.attributeTypeCount(), 1U);
  EXPECT_EQ(probe.problems(Problem::Kind::supertypeCycle).size(), 4U);
  ASSERT_EQ(probe.problems(Problem::Kind::missingSupertype).size(), 1U);
  EXPECT_EQ(probe.problems(Problem::Kind::missingSupertype)[0].line, 4U);
}

TEST(Builder, SameDefinitionInTwoFilesIsNoProblem) {
  SchemaProbe probe;
  probe.parse(definition("1.1 NAME ( 'a' 'b' ) EQUALITY caseIgnoreMatch SYNTAX 1.9"), "one");
  probe.parse("attributeTypes: ( 1.1 NAME ( 'A' 'B' ) DESC 'more' EQUALITY 2.5.13.2 SYNTAX 1.8 )\n",
              "two");
  probe.complete();
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_EQ(probe.attributeTypeCount(), 1U);
}

TEST(Builder, RuleThatIsNotToldApartIsTheSameAsNoneWhereNothingIsInherited) {
  SchemaProbe probe;
  probe.parse(definition("1.1 NAME 'a' SYNTAX 1.9") +
              definition("1.1 NAME 'a' EQUALITY certificateExactMatch SYNTAX 1.9"));
  EXPECT_THAT(probe.problems(), IsEmpty());
  probe.parse(definition("1.2 NAME 'b' SUP a") +
              definition("1.2 NAME 'b' SUP a EQUALITY certificateExactMatch"));
  EXPECT_EQ(probe.problems().size(), 1U);
}

struct OverrideRow {
  const char* name;
  const char* second;
};

class BuilderOverride : public ::testing::TestWithParam<OverrideRow> {};

TEST_P(BuilderOverride, IsReportedAndTakesThePlace) {
  SchemaProbe probe;
  probe.parse(definition("1.9 NAME 'root' SYNTAX 1.8"), "one");
  probe.parse(definition("1.1 NAME ( 'a' 'b' ) SUP root EQUALITY caseIgnoreMatch"), "one");
  probe.parse("\n" + definition(GetParam().second), "two");
  probe.complete();
  ASSERT_EQ(probe.problems().size(), 1U);
  EXPECT_EQ(probe.problems()[0].kind, Problem::Kind::redefinition);
  EXPECT_EQ(probe.problems()[0].file, "two");
  EXPECT_EQ(probe.problems()[0].line, 2U);
  EXPECT_THAT(probe.problems()[0].reason, HasSubstr("one, line 1"));
  EXPECT_EQ(probe.attributeTypeCount(), 2U);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BuilderOverride,
    ::testing::Values(
        OverrideRow{"Equality", "1.1 NAME ( 'a' 'b' ) SUP root EQUALITY integerMatch"},
        OverrideRow{"NoEquality", "1.1 NAME ( 'a' 'b' ) SUP root"},
        OverrideRow{"OtherOrderOfNames", "1.1 NAME ( 'b' 'a' ) SUP root EQUALITY caseIgnoreMatch"},
        OverrideRow{"FewerNames", "1.1 NAME 'a' SUP root EQUALITY caseIgnoreMatch"},
        OverrideRow{"OtherSup", "1.1 NAME ( 'a' 'b' ) SYNTAX 1.8 EQUALITY caseIgnoreMatch"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Builder, OverrideDecidesNamesAndRule) {
  SchemaProbe probe;
  probe.parse(definition("1.1 NAME ( 'a' 'b' ) EQUALITY caseIgnoreMatch SYNTAX 1.9"));
  probe.parse(definition("1.1 NAME ( 'c' 'b' ) EQUALITY integerMatch SYNTAX 1.9"));
  const auto schema = probe.complete();
  EXPECT_EQ(schema->findAttributeType("a"), nullptr);
  EXPECT_EQ(schema->findAttributeType("b")->canonicalType, "C");
  EXPECT_EQ(equalityOf(*schema, "1.1"), EqualityRule::integer);
}

TEST(Builder, OverrideGivesUpTheNamesThatItLeavesOut) {
  SchemaProbe probe;
  probe.parse(definition("1.1 NAME ( 'a' 'b' ) SYNTAX 1.9") +
              definition("1.1 NAME 'b' SYNTAX 1.9") + definition("1.2 NAME 'a' SYNTAX 1.9"));
  EXPECT_EQ(probe.problems().size(), 1U);
  EXPECT_EQ(probe.complete()->findAttributeType("a")->oid, "1.2");
}

TEST(Builder, NameOfAnotherOidIsReportedAndTheDefinitionLeftOut) {
  SchemaProbe probe;
  probe.parse(definition("1.1 NAME ( 'a' 'b' ) SYNTAX 1.9"), "one");
  probe.parse(definition("1.2 NAME ( 'c' 'B' ) SYNTAX 1.9"), "two");
  const auto schema = probe.complete();
  ASSERT_EQ(probe.problems().size(), 1U);
  EXPECT_EQ(probe.problems()[0].kind, Problem::Kind::redefinition);
  EXPECT_EQ(probe.problems()[0].file, "two");
  EXPECT_THAT(probe.problems()[0].reason, HasSubstr("\"B\" belongs to"));
  EXPECT_THAT(probe.problems()[0].reason, HasSubstr("one, line 1"));
  EXPECT_EQ(schema->findAttributeType("b")->oid, "1.1");
  EXPECT_EQ(schema->findAttributeType("c"), nullptr);
  EXPECT_EQ(schema->findAttributeType("1.2"), nullptr);
}

TEST(Builder, OidThatIsTheNameOfAnotherIsLeftOut) {
  SchemaProbe probe;
  probe.parse(
      "attributeTypes: ( 1.1 NAME 'a' SYNTAX 1.9 )\nattributeTypes: ( a NAME 'b' SYNTAX 1.9 )");
  const auto schema = probe.complete();
  EXPECT_EQ(probe.problems().size(), 1U);
  EXPECT_EQ(schema->findAttributeType("a")->oid, "1.1");
  EXPECT_EQ(schema->findAttributeType("b"), nullptr);
}

TEST(Builder, NameGivenTwiceInOneDefinitionIsNoProblem) {
  SchemaProbe probe;
  probe.parse(definition("1.1 NAME ( 'a' 'A' ) SYNTAX 1.9"));
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_EQ(probe.complete()->findAttributeType("a")->oid, "1.1");
}

TEST(Builder, MacroThatChangesIsReported) {
  SchemaProbe probe;
  probe.parse("objectidentifier M 1.1\nobjectidentifier m 1.1\nobjectidentifier M 1.2\n" +
              definition("M:5 NAME 'a' SYNTAX 1.9"));
  ASSERT_EQ(probe.problems().size(), 1U);
  EXPECT_EQ(probe.problems()[0].kind, Problem::Kind::redefinition);
  EXPECT_EQ(probe.problems()[0].line, 3U);
  EXPECT_NE(probe.complete()->findAttributeType("1.2.5"), nullptr);
}

TEST(Builder, IsEmptyAfterCompletion) {
  SchemaProbe probe;
  probe.parse(definition("1.1 NAME 'a' SYNTAX 1.9"));
  EXPECT_NE(probe.complete()->findAttributeType("a"), nullptr);
  EXPECT_EQ(probe.attributeTypeCount(), 1U);
  EXPECT_EQ(probe.complete()->findAttributeType("a"), nullptr);
  EXPECT_EQ(probe.attributeTypeCount(), 0U);
}

}  // namespace

}  // namespace schema
