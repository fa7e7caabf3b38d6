#include "platform/schema/parseText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "testsupport/SchemaProbe.h"

namespace schema {

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct FormRow {
  const char* name;
  const char* text;
};

/// The same three attribute types in every spelling.
const FormRow formRows[] = {
    {"Subschema",
     "version: 1\n"
     "dn: cn=schema\n"
     "objectClass: top\n"
     "attributeTypes: ( 1.5.1 NAME ( 'one' 'first' ) EQUALITY caseExactMatch SYNTAX 1.9 )\n"
     "attributetypes:(1.5.2 NAME 'two' SUP one)\n"
     "ATTRIBUTETYPES: ( 1.5.3 NAME 'three' SYNTAX 1.9 X-ORIGIN ( 'a' 'b' ) )\n"
     "objectClasses: ( 1.6.1 NAME 'class' SUP top MUST one MAY ( two $ three ) )\n"},
    {"SubschemaWithFolds",
     "dn: cn=schema\n"
     "attributeTypes: ( 1.5.1 NAME ( 'one' 'fir\n"
     " st' ) EQUALITY caseEx\n"
     " actMatch\n"
     "  SYNTAX 1.9 )\n"
     "# attributeTypes: ( 1.5.9 NAME 'not'\n"
     "  SYNTAX 1.9 )\n"
     "attributeTypes:\n"
     "  ( 1.5.2 NAME 'two' SUP one )\n"
     "attributeTypes: ( 1.5.3 NAME 'three' SYNTAX 1.9\n"
     "  )\n"
     "objectClasses: ( 1.6.1 NAME 'class' )\n"},
    {"SubschemaInBase64",
     "dn: cn=schema\n"
     "attributeTypes:: KCAxLjUuMSBOQU1FICggJ29uZScgJ2ZpcnN0JyApIEVRVUFMSVRZIGNhc2VFe\n"
     " GFjdE1hdGNoIFNZTlRBWCAxLjkgKQ==\n"
     "attributeTypes;x-option: ( 1.5.2 NAME 'two' SUP one )\n"
     "attributeTypes: ( 1.5.3 NAME 'three' SYNTAX 1.9 )\n"
     "objectClasses: ( 1.6.1 NAME 'class' )\n"},
    {"Configuration",
     "dn: cn=test,cn=schema,cn=config\r\n"
     "objectClass: olcSchemaConfig\r\n"
     "cn: test\r\n"
     "olcObjectIdentifier: {0}arc 1.5\r\n"
     "olcObjectIdentifier: {1}second arc:2\r\n"
     "olcAttributeTypes: {0}( ARC:1 NAME ( 'one' 'first' ) EQUALITY caseExactMatch SYNTAX 1.\r\n"
     " 9 )\r\n"
     "olcAttributeTypes: {1}( second NAME 'two' SUP arc:1 )\r\n"
     "olcAttributeTypes: {12}( 1.5.3 NAME 'three' SYNTAX 1.9 )\r\n"
     "olcObjectClasses: {0}( 1.6.1 NAME 'class' )\r\n"},
    {"Directives",
     "# a comment\n"
     "objectidentifier arc 1.5\n"
     "objectIdentifier\tother\tarc:3\n"
     "\n"
     "attributetype ( arc:1\n"
     "\tNAME ( 'one' 'first' )\n"
     "\tEQUALITY caseExactMatch\n"
     "\tSYNTAX 1.9 )\n"
     "#attributetype ( 1.5.9\n"
     "#\tNAME 'not' SYNTAX 1.9 )\n"
     "AttributeType( 1.5.2 NAME 'two'\n"
     "  SUP first )\n"
     "attributetype\n"
     "  ( other NAME 'three' SYNTAX 1.9 )\n"
     "objectclass ( 1.6.1 NAME 'class'\n"
     "\tMAY one )"},
};

class Form : public ::testing::TestWithParam<FormRow> {};

TEST_P(Form, IsRead) {
  SchemaProbe probe;
  probe.parse(GetParam().text);
  EXPECT_EQ(probe.count(), 3U);
  EXPECT_EQ(probe.count(DefinitionType::objectClass), 1U);
  const auto schema = probe.complete();
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_EQ(schema->attributeTypeCount(), 3U);
  const AttributeType* one = schema->findAttributeType("FIRST");
  ASSERT_NE(one, nullptr);
  EXPECT_EQ(one->oid, "1.5.1");
  EXPECT_EQ(one->canonicalType, "ONE");
  EXPECT_EQ(one->equality, EqualityRule::caseExact);
  ASSERT_NE(schema->findAttributeType("two"), nullptr);
  EXPECT_EQ(schema->findAttributeType("two")->oid, "1.5.2");
  EXPECT_EQ(schema->findAttributeType("two")->equality, EqualityRule::caseExact);
  ASSERT_NE(schema->findAttributeType("1.5.3"), nullptr);
  EXPECT_EQ(schema->findAttributeType("1.5.3")->canonicalType, "THREE");
}

/// Cut anywhere: what stood whole before the cut counts.
TEST_P(Form, CutAnywhereKeepsTheDefinitionsBeforeTheCut) {
  const std::string_view text = GetParam().text;
  std::size_t before = 0;
  for (std::size_t length = 0; length <= text.size(); ++length) {
    SchemaProbe probe;
    probe.parse(text.substr(0, length));
    EXPECT_GE(probe.count(), before) << "length " << length;
    EXPECT_LE(probe.problems().size(), 1U) << "length " << length;
    before = probe.count();
    probe.complete();
  }
  EXPECT_EQ(before, 3U);
}

/// One byte changed costs at most the definitions that it stands between or that need it: never all
/// three. (A comment may become a fourth definition.)
TEST_P(Form, AnyByteChangedLeavesAnotherDefinition) {
  const std::string good = GetParam().text;
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (const char byte : std::string_view("\0\t\n\r #'()$:x{\x80\xFF", 15)) {
      std::string text = good;
      text[at] = byte;
      SchemaProbe probe;
      probe.parse(text);
      EXPECT_GE(probe.count(), 1U) << "byte " << at << ": " << text;
      EXPECT_LE(probe.count(), 4U);
      const auto schema = probe.complete();
      EXPECT_LE(schema->attributeTypeCount(), probe.count());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, Form, ::testing::ValuesIn(formRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ParseText, CountsEveryKindInEveryForm) {
  const struct {
    DefinitionType type;
    const char* body;
  } kinds[] = {
      {DefinitionType::attributeType, "( 1.5.1 SYNTAX 1.9 )"},
      {DefinitionType::objectClass, "( 1.5.2 ABSTRACT )"},
      {DefinitionType::ldapSyntax, "( 1.5.3 )"},
      {DefinitionType::matchingRule, "( 1.5.4 SYNTAX 1.9 )"},
      {DefinitionType::matchingRuleUse, "( 1.5.5 APPLIES a )"},
      {DefinitionType::ditContentRule, "( 1.5.6 AUX a )"},
      {DefinitionType::ditStructureRule, "( 7 FORM a )"},
      {DefinitionType::nameForm, "( 1.5.8 OC a MUST b )"},
      {DefinitionType::objectIdentifier, "name 1.5.9"},
  };
  for (const auto& row : kinds) {
    const DefinitionKind& kind = definitionKind(row.type);
    std::vector<std::string> texts = {std::string(kind.directive) + " " + row.body + "\n",
                                      std::string(kind.configuration) + ": {3}" + row.body + "\n"};
    if (!kind.attribute.empty()) {
      texts.push_back(std::string(kind.attribute) + ": " + row.body + "\n");
    }
    for (const std::string& text : texts) {
      SchemaProbe probe;
      probe.parse(text);
      EXPECT_EQ(probe.count(row.type), 1U) << text;
      EXPECT_THAT(probe.problems(), IsEmpty()) << text;
    }
  }
}

TEST(ParseText, RfcNamesOfTheSubschemaTypes) {
  SchemaProbe probe;
  probe.parse(
      "dn: cn=x\nattributeTypes: ( 1.1 SYNTAX 1.9 )\nobjectClasses: ( 1.2 )\nldapSyntaxes: ( 1.3 "
      ")\n"
      "matchingRules: ( 1.4 )\nmatchingRuleUse: ( 1.5 )\ndITContentRules: ( 1.6 )\n"
      "dITStructureRules: ( 7 )\nnameForms: ( 1.8 )\n");
  for (std::size_t type = 0; type < definitionTypeCount - 1; ++type) {
    EXPECT_EQ(probe.count(static_cast<DefinitionType>(type)), 1U) << type;
  }
}

struct ProblemRow {
  const char* name;
  std::string text;
  Problem::Kind kind;
  std::size_t line;
  const char* reason;
  std::size_t goodOnes;  ///< attribute types that count all the same
};

const std::string good = "attributeTypes: ( 1.5.9 NAME 'good' SYNTAX 1.9 )\n";
const std::string goodDirective = "attributetype ( 1.5.9 NAME 'good' SYNTAX 1.9 )\n";

const ProblemRow problemRows[] = {
    {"UnbalancedInLdif", "attributeTypes: ( 1.5.1 NAME 'a'\n  SYNTAX 1.9\n" + good,
     Problem::Kind::badDefinition, 2, "it ends where", 1},
    {"UnbalancedInDirectives", "attributetype ( 1.5.1 NAME ( 'a'\n\tSYNTAX 1.9 )\n" + goodDirective,
     Problem::Kind::badDefinition, 2, "\"1.9\" is no name", 1},
    {"TooManyParentheses", "attributeTypes: ( 1.5.1 NAME 'a'\n  SYNTAX 1.9 ) )\n" + good,
     Problem::Kind::badDefinition, 2, "\")\" stands where its end", 1},
    {"LineOfTheFaultInADefinition",
     goodDirective + "attributetype ( 1.5.1\n\tNAME 'a'\n\tSYNTAKS 1.9\n\t)\n",
     Problem::Kind::badDefinition, 4, "\"SYNTAKS\"", 1},
    {"LineOfTheFaultBehindAFold",
     good + "attributeTypes: ( 1.5.1\n  NAME 'a'\n  SYN\n TAKS 1.9 )\n",
     Problem::Kind::badDefinition, 4, "\"SYNTAKS\"", 1},
    {"NeitherSupNorSyntax", good + "attributeTypes: ( 1.5.1 NAME 'a' )\n",
     Problem::Kind::badDefinition, 2, "neither SUP nor SYNTAX", 1},
    {"UnknownMacro", goodDirective + "attributetype ( Nix:1 NAME 'a' SYNTAX 1.9 )\n",
     Problem::Kind::badDefinition, 2, "\"Nix:1\"", 1},
    {"UnknownMacroWithoutSuffix", goodDirective + "attributetype ( Nix NAME 'a' SYNTAX 1.9 )\n",
     Problem::Kind::badDefinition, 2, "\"Nix\"", 1},
    {"UnknownMacroInConfiguration", good + "olcAttributeTypes: {0}( Nix NAME 'a' SYNTAX 1.9 )\n",
     Problem::Kind::badDefinition, 2, "\"Nix\"", 1},
    {"UnknownMacroInAClass", goodDirective + "objectclass ( Nix:2 NAME 'a' )\n",
     Problem::Kind::badDefinition, 2, "\"Nix:2\"", 1},
    {"MacroDefinedAfterwards",
     goodDirective + "attributetype ( M:1 NAME 'a' SYNTAX 1.9 )\nobjectidentifier M 1.2\n",
     Problem::Kind::badDefinition, 2, "\"M:1\"", 1},
    {"MacroOfAnUnknownOne", goodDirective + "objectidentifier M N:2\n",
     Problem::Kind::badDefinition, 2, "\"N:2\"", 1},
    {"MacroOfItself", goodDirective + "objectidentifier M M:2\n", Problem::Kind::badDefinition, 2,
     "\"M:2\"", 1},
    {"MacroWithoutOid", goodDirective + "objectidentifier M\n", Problem::Kind::badDefinition, 2,
     "\"\" is neither", 1},
    {"MacroWithoutName", goodDirective + "objectidentifier 1.2 1.3\n", Problem::Kind::badDefinition,
     2, "\"1.2\" is no name", 1},
    {"EmptyDirective", goodDirective + "attributetype\n", Problem::Kind::badDefinition, 2,
     "it ends where \"(\"", 1},
    {"EmptyValue", good + "attributeTypes:\n", Problem::Kind::badDefinition, 2,
     "it ends where \"(\"", 1},
    {"BadBase64", good + "attributeTypes:: !!!!\n", Problem::Kind::badDefinition, 2, "base64", 1},
    {"BadDefinitionInBase64", good + "attributeTypes:: KCAxLj\n UuMSA=\n",
     Problem::Kind::badDefinition, 2, "it ends where", 1},
    {"FaultBehindTheFoldInBase64",
     good + "attributeTypes:: KCAxLjUu\n "
            "MSBOQU1FICdhJyBERVNDICdsb25nIGVub3VnaCB0byByZWFjaCBiZWhpbmQgdGhlIGZvbGQnIFNZTlRBS1MgMS"
            "45ICk=\n",
     Problem::Kind::badDefinition, 2, "\"SYNTAKS\"", 1},
    {"Url", good + "attributeTypes:< file:///etc/passwd\n", Problem::Kind::badDefinition, 2, "URL",
     1},
    {"MisspeltKeyword", goodDirective + "attributeype ( 1.5.1 NAME 'a' SYNTAX 1.9 )\n",
     Problem::Kind::badDefinition, 2, "\"attributeype\" is no keyword", 1},
    {"DirectiveInLdif", good + "attributetype: ( 1.5.1 NAME 'a' SYNTAX 1.9 )\n",
     Problem::Kind::badDefinition, 2, "\"attributetype\" is the keyword of another kind", 1},
    {"StrayDirective", goodDirective + "include /etc/passwd\n", Problem::Kind::strayLine, 2,
     "\"include\"", 1},
    {"StrayContinuation", "\n  foo\n" + goodDirective, Problem::Kind::strayLine, 2, "\"\"", 1},
    {"NoColon", good + "hello\n", Problem::Kind::strayLine, 2, "no colon", 1},
    {"NoType", good + "two words: x\n", Problem::Kind::strayLine, 2, "\"two words\"", 1},
    {"NulByte", good + std::string("attributeTypes: ( 1.5.1 NAME '\0' SYNTAX 1.9 )\n", 46),
     Problem::Kind::badDefinition, 2, "\"\\00\" is no name", 1},
};

class ProblemOf : public ::testing::TestWithParam<ProblemRow> {};

TEST_P(ProblemOf, TheTextIsReportedOnceWithItsLineAndTheRestCounts) {
  SchemaProbe probe;
  probe.parse(GetParam().text, "some.file");
  ASSERT_EQ(probe.problems().size(), 1U) << ::testing::PrintToString(probe.problems());
  const Problem& problem = probe.problems()[0];
  EXPECT_EQ(problem.kind, GetParam().kind);
  EXPECT_EQ(problem.file, "some.file");
  EXPECT_EQ(problem.line, GetParam().line);
  EXPECT_THAT(problem.reason, HasSubstr(GetParam().reason));
  EXPECT_EQ(probe.builder().problemCount(), 1U);
  EXPECT_EQ(probe.count(), GetParam().goodOnes);
  EXPECT_NE(probe.complete()->findAttributeType("good"), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Rows, ProblemOf, ::testing::ValuesIn(problemRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ParseText, MacrosReachIntoLaterFiles) {
  SchemaProbe probe;
  probe.parse("objectidentifier M 1.5\n", "one");
  probe.parse("dn: x\nolcAttributeTypes: ( M:1 NAME 'a' EQUALITY E:2 SYNTAX M:3 )\n", "two");
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_NE(probe.complete()->findAttributeType("1.5.1"), nullptr);
}

TEST(ParseText, MacroMayNameTheEqualityRuleAndTheSupertype) {
  SchemaProbe probe;
  probe.parse(
      "objectidentifier rules 2.5.13\nobjectidentifier exact rules:5\nobjectidentifier M 1.5\n"
      "attributetype ( M:1 NAME 'a' EQUALITY rules:14 SYNTAX 1.9 )\n"
      "attributetype ( M:2 NAME 'b' EQUALITY EXACT SYNTAX 1.9 )\n"
      "attributetype ( M:3 NAME 'c' SUP M:1 )\n");
  const auto schema = probe.complete();
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_EQ(schema->findAttributeType("a")->equality, EqualityRule::integer);
  EXPECT_EQ(schema->findAttributeType("b")->equality, EqualityRule::caseExact);
  EXPECT_EQ(schema->findAttributeType("c")->equality, EqualityRule::integer);
}

TEST(ParseText, NameMayStandForAnOidInSubschemaFiles) {
  SchemaProbe probe;
  probe.parse("attributeTypes: ( foo-oid NAME 'foo' SYNTAX 1.9 )\n");
  const auto schema = probe.complete();
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_EQ(schema->findAttributeType("FOO-OID")->canonicalType, "FOO");
}

TEST(ParseText, ModificationsOfASubschemaEntryAreRead) {
  SchemaProbe probe;
  probe.parse("dn: cn=schema\nchangetype: modify\nadd: attributeTypes\n" + good + "-\n");
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_EQ(probe.count(), 1U);
}

TEST(ParseText, MacrosThatGrowAreStopped) {
  std::string text = "objectidentifier m0 1.1\n";
  for (int i = 1; i < 20000; ++i) {
    text += "objectidentifier m" + std::to_string(i) + " m" + std::to_string(i - 1) + ":1\n";
  }
  SchemaProbe probe;
  probe.parse(text);
  // 1.1 has three characters and each step adds two, up to 4096.
  EXPECT_EQ(probe.count(DefinitionType::objectIdentifier), 2047U);
  EXPECT_EQ(probe.problems().size(), 20000U - 2047U);
}

TEST(ParseText, BinaryDataIsReportedInTwoMessages) {
  std::mt19937 random(42);
  std::string bytes;
  for (int i = 0; i < 1000000; ++i) {
    bytes += static_cast<char>(random() & 0xFFU);
  }
  SchemaProbe probe;
  probe.parse("#\n" + bytes);
  const auto stray = probe.problems(Problem::Kind::strayLine);
  ASSERT_EQ(stray.size(), 1U);
  ASSERT_EQ(probe.problems(Problem::Kind::moreStrayLines).size(), 1U);
  EXPECT_EQ(probe.problems(Problem::Kind::moreStrayLines)[0].line, 0U);
  EXPECT_GT(std::stoul(probe.problems(Problem::Kind::moreStrayLines)[0].reason), 1000U);
  EXPECT_EQ(probe.complete()->attributeTypeCount(), 0U);
}

TEST(ParseText, RandomBytesOfTheGrammarAreSurvived) {
  const std::vector<std::string> pieces = {"attributeTypes:",
                                           "attributetype ",
                                           "olcAttributeTypes: {0}",
                                           "objectidentifier ",
                                           "( ",
                                           ") ",
                                           "'",
                                           "$ ",
                                           "\n",
                                           "\n ",
                                           "\r\n",
                                           "1.2 ",
                                           "NAME ",
                                           "SUP a ",
                                           "SYNTAX 1.3 ",
                                           "a ",
                                           "M:1 ",
                                           ":",
                                           "::",
                                           "#",
                                           "{1}",
                                           std::string(1, '\0'),
                                           "\xFF"};
  std::mt19937 random(4711);
  std::uniform_int_distribution<std::size_t> piece(0, pieces.size() - 1);
  std::size_t read = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (int i = 0; i < 30; ++i) {
      text += pieces[piece(random)];
    }
    SchemaProbe probe;
    probe.parse(text);
    read += probe.count();
    EXPECT_LE(probe.complete()->attributeTypeCount(), probe.count());
  }
  EXPECT_LT(read, 20000U);
}

TEST(ParseText, AMillionDefinitionsAreRead) {
  constexpr std::size_t count = 1000000;
  std::string text = "dn: cn=schema\n";
  for (std::size_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    text += "attributeTypes: ( 1.5.";
    text += number;
    text += " NAME 'a";
    text += number;
    text += i == 0 ? "' EQUALITY caseExactMatch SYNTAX 1.9 )\n"
                   : "' SUP a" + std::to_string(i - 1) + "\n  X-ORIGIN 'x' )\n";
  }
  SchemaProbe probe;
  probe.parse(text);
  EXPECT_EQ(probe.count(), count);
  const auto schema = probe.complete();
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_EQ(schema->attributeTypeCount(), count);
  EXPECT_EQ(schema->findAttributeType("A999999")->equality, EqualityRule::caseExact);
}

TEST(ParseText, AMillionDefinitionsOfOneOidAreOne) {
  std::string text;
  for (int i = 0; i < 1000000; ++i) {
    text += "attributetype ( 1.5 NAME 'a' SYNTAX 1.9 )\n";
  }
  SchemaProbe probe;
  probe.parse(text);
  EXPECT_EQ(probe.count(), 1000000U);
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_EQ(probe.complete()->attributeTypeCount(), 1U);
}

/// Depth and length cost no stack and no more than linear time.
TEST(ParseText, DeepAndLongDefinitionsAreReported) {
  SchemaProbe probe;
  probe.parse("attributetype " + std::string(5000000, '(') + "\n");
  probe.parse("attributetype ( 1.2 NAME '" + std::string(5000000, 'a') + "\n");
  ASSERT_EQ(probe.problems().size(), 2U);
  for (const Problem& problem : probe.problems()) {
    EXPECT_EQ(problem.kind, Problem::Kind::badDefinition);
    EXPECT_LT(problem.reason.size(), 200U);
  }
}

}  // namespace

}  // namespace schema
