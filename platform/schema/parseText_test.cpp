#include "platform/schema/parseText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

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
  const auto schema = probe.complete();
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_EQ(probe.attributeTypeCount(), 3U);
  EXPECT_EQ(schema->findObjectIdentifier("class"), "1.6.1");
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
    EXPECT_LE(probe.problems().size(), 1U) << "length " << length;
    probe.complete();
    EXPECT_GE(probe.readCount(), before) << "length " << length;
    before = probe.readCount();
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
      probe.complete();
      EXPECT_GE(probe.readCount(), 1U) << "byte " << at << ": " << text;
      EXPECT_LE(probe.readCount(), 4U);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, Form, ::testing::ValuesIn(formRows),
                         [](const auto& row) { return std::string(row.param.name); });

struct KindRow {
  const char* directive;  ///< its keyword in .schema files
  const char* attribute;  ///< its type in subschema files, RFC 4512's; empty where there is none
  const char* configuration;  ///< its type in configuration files
  const char* body;           ///< a definition of the name `it` and the number 1.5.1
  const char* found;          ///< what `it` stands for in the schema
};

/// The fields in the bodies are such that only the kind of the row has all of them.
const KindRow kindRows[] = {
    {"attributetype", "attributeTypes", "olcAttributeTypes",
     "( 1.5.1 NAME 'it' SYNTAX 1.9 USAGE dSAOperation )", "1.5.1"},
    {"objectclass", "objectClasses", "olcObjectClasses", "( 1.5.1 NAME 'it' ABSTRACT )", "1.5.1"},
    {"ldapsyntax", "ldapSyntaxes", "olcLdapSyntaxes", "( 1.5.1 NAME 'it' DESC 'd' )", "1.5.1"},
    {"matchingrule", "matchingRules", "olcMatchingRules", "( 1.5.1 NAME 'it' OBSOLETE SYNTAX 1.9 )",
     "1.5.1"},
    {"matchingruleuse", "matchingRuleUse", "olcMatchingRuleUse", "( 1.5.1 NAME 'it' APPLIES a )",
     "1.5.1"},
    {"ditcontentrule", "dITContentRules", "olcDitContentRules", "( 1.5.1 NAME 'it' AUX a )",
     "1.5.1"},
    {"ditstructurerule", "dITStructureRules", "olcDitStructureRules",
     "( 7 NAME 'it' FORM a SUP ( 1 2 ) )", ""},
    {"nameform", "nameForms", "olcNameForms", "( 1.5.1 NAME 'it' OC a MUST b )", "1.5.1"},
};

class Kind : public ::testing::TestWithParam<KindRow> {
 protected:
  /// The body under each of the keywords.
  static std::vector<std::string> texts(const std::string& body) {
    return {std::string(GetParam().directive) + " " + body + "\n",
            std::string(GetParam().attribute) + ": " + body + "\n",
            std::string(GetParam().configuration) + ": {3}" + body + "\n"};
  }
};

TEST_P(Kind, IsReadInEveryForm) {
  for (const std::string& text : texts(GetParam().body)) {
    SchemaProbe probe;
    probe.parse(text);
    const auto schema = probe.complete();
    EXPECT_THAT(probe.problems(), IsEmpty()) << text;
    EXPECT_EQ(schema->findObjectIdentifier("IT"), GetParam().found) << text;
  }
}

/// LDIF lines of unknown types are skipped: what reports a fault was not.
TEST_P(Kind, IsReportedInEveryFormWhereItCannotBeRead) {
  for (const std::string& text : texts("( 1.5.1 NIX )")) {
    SchemaProbe probe;
    probe.parse(text);
    ASSERT_EQ(probe.problems().size(), 1U) << text;
    EXPECT_EQ(probe.problems()[0].kind, Problem::Kind::badDefinition) << text;
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, Kind, ::testing::ValuesIn(kindRows),
                         [](const auto& row) { return std::string(row.param.directive); });

TEST(ParseText, MacrosAreReadInBothFormsThatHaveThem) {
  for (const char* text :
       {"objectidentifier it 1.5\nattributetype ( it:1 SYNTAX 1.9 )\n",
        "olcObjectIdentifier: {3}it 1.5\nolcAttributeTypes: ( it:1 SYNTAX 1.9 )\n"}) {
    SchemaProbe probe;
    probe.parse(text);
    EXPECT_NE(probe.complete()->findAttributeType("1.5.1"), nullptr) << text;
    EXPECT_THAT(probe.problems(), IsEmpty()) << text;
  }
}

struct ProblemRow {
  const char* name;
  std::string text;
  Problem::Kind kind;
  std::size_t line;
  const char* reason;
};

const std::string good = "attributeTypes: ( 1.5.9 NAME 'good' SYNTAX 1.9 )\n";
const std::string goodDirective = "attributetype ( 1.5.9 NAME 'good' SYNTAX 1.9 )\n";

/// Each text has one fault, and the attribute type `good` beside it.
const ProblemRow problemRows[] = {
    {"UnbalancedInLdif", "attributeTypes: ( 1.5.1 NAME 'a'\n  SYNTAX 1.9\n" + good,
     Problem::Kind::badDefinition, 2, "it ends where"},
    {"UnbalancedInDirectives", "attributetype ( 1.5.1 NAME ( 'a'\n\tSYNTAX 1.9 )\n" + goodDirective,
     Problem::Kind::badDefinition, 2, "\"1.9\" is no name"},
    {"TooManyParentheses", "attributeTypes: ( 1.5.1 NAME 'a'\n  SYNTAX 1.9 ) )\n" + good,
     Problem::Kind::badDefinition, 2, "\")\" stands where its end"},
    {"LineOfTheFaultInADefinition",
     goodDirective + "attributetype ( 1.5.1\n\tNAME 'a'\n\tSYNTAKS 1.9\n\t)\n",
     Problem::Kind::badDefinition, 4, "\"SYNTAKS\""},
    {"LineOfTheFaultBehindAFold",
     good + "attributeTypes: ( 1.5.1\n  NAME 'a'\n  SYN\n TAKS 1.9 )\n",
     Problem::Kind::badDefinition, 4, "\"SYNTAKS\""},
    {"NeitherSupNorSyntax", good + "attributeTypes: ( 1.5.1 NAME 'a' )\n",
     Problem::Kind::badDefinition, 2, "neither SUP nor SYNTAX"},
    {"UnknownMacro", goodDirective + "attributetype ( Nix:1 NAME 'a' SYNTAX 1.9 )\n",
     Problem::Kind::badDefinition, 2, "\"Nix:1\""},
    {"UnknownMacroWithoutSuffix", goodDirective + "attributetype ( Nix NAME 'a' SYNTAX 1.9 )\n",
     Problem::Kind::badDefinition, 2, "\"Nix\""},
    {"UnknownMacroInConfiguration", good + "olcAttributeTypes: {0}( Nix NAME 'a' SYNTAX 1.9 )\n",
     Problem::Kind::badDefinition, 2, "\"Nix\""},
    {"UnknownMacroInAClass", goodDirective + "objectclass ( Nix:2 NAME 'a' )\n",
     Problem::Kind::badDefinition, 2, "\"Nix:2\""},
    {"MacroDefinedAfterwards",
     goodDirective + "attributetype ( M:1 NAME 'a' SYNTAX 1.9 )\nobjectidentifier M 1.2\n",
     Problem::Kind::badDefinition, 2, "\"M:1\""},
    {"MacroOfAnUnknownOne", goodDirective + "objectidentifier M N:2\n",
     Problem::Kind::badDefinition, 2, "\"N:2\""},
    {"MacroOfAnUnknownName", goodDirective + "objectidentifier M N\n", Problem::Kind::badDefinition,
     2, "\"N\" is neither"},
    {"MacroOfItself", goodDirective + "objectidentifier M M:2\n", Problem::Kind::badDefinition, 2,
     "\"M:2\""},
    {"MacroWithoutOid", goodDirective + "objectidentifier M\n", Problem::Kind::badDefinition, 2,
     "\"\" is neither"},
    {"MacroWithoutName", goodDirective + "objectidentifier 1.2 1.3\n", Problem::Kind::badDefinition,
     2, "\"1.2\" is no name"},
    {"EmptyDirective", goodDirective + "attributetype\n", Problem::Kind::badDefinition, 2,
     "it ends where \"(\""},
    {"EmptyValue", good + "attributeTypes:\n", Problem::Kind::badDefinition, 2,
     "it ends where \"(\""},
    {"BadBase64", good + "attributeTypes:: !!!!\n", Problem::Kind::badDefinition, 2, "base64"},
    {"BadDefinitionInBase64", good + "attributeTypes:: KCAxLj\n UuMSA=\n",
     Problem::Kind::badDefinition, 2, "it ends where"},
    {"FaultBehindTheFoldInBase64",
     good + "attributeTypes:: KCAxLjUu\n "
            "MSBOQU1FICdhJyBERVNDICdsb25nIGVub3VnaCB0byByZWFjaCBiZWhpbmQgdGhlIGZvbGQnIFNZTlRBS1MgMS"
            "45ICk=\n",
     Problem::Kind::badDefinition, 2, "\"SYNTAKS\""},
    {"Url", good + "attributeTypes:< file:///etc/passwd\n", Problem::Kind::badDefinition, 2, "URL"},
    {"MisspeltKeyword", goodDirective + "attributeype ( 1.5.1 NAME 'a' SYNTAX 1.9 )\n",
     Problem::Kind::badDefinition, 2, "\"attributeype\" is no keyword"},
    {"DirectiveInLdif", good + "attributetype: ( 1.5.1 NAME 'a' SYNTAX 1.9 )\n",
     Problem::Kind::badDefinition, 2, "\"attributetype\" is the keyword of another kind"},
    {"StrayDirective", goodDirective + "include /etc/passwd\n", Problem::Kind::strayLine, 2,
     "\"include\""},
    {"StrayContinuation", "\n  foo\n" + goodDirective, Problem::Kind::strayLine, 2, "\"\""},
    {"NoColon", good + "hello\n", Problem::Kind::strayLine, 2, "no colon"},
    {"NoType", good + "two words: x\n", Problem::Kind::strayLine, 2, "\"two words\""},
    {"NulByte", good + std::string("attributeTypes: ( 1.5.1 NAME '\0' SYNTAX 1.9 )\n", 46),
     Problem::Kind::badDefinition, 2, "\"\\00\" is no name"},
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
  EXPECT_NE(probe.complete()->findAttributeType("good"), nullptr);
  EXPECT_EQ(probe.readCount(), 1U);
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
  EXPECT_NE(probe.complete()->findAttributeType("good"), nullptr);
  EXPECT_THAT(probe.problems(), IsEmpty());
}

TEST(ParseText, MacrosThatGrowAreStopped) {
  std::string text = "objectidentifier m0 1.1\n";
  for (int i = 1; i < 20000; ++i) {
    text += "objectidentifier m" + std::to_string(i) + " m" + std::to_string(i - 1) + ":1\n";
  }
  SchemaProbe probe;
  probe.parse(text);
  // 1.1 has three characters and each step adds two, up to 4096.
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
  probe.complete();
  EXPECT_EQ(probe.attributeTypeCount(), 0U);
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
  std::size_t unread = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string text = "attributetype ( 1.2 SYNTAX 1.3 ";
    for (int i = 0; i < 30; ++i) {
      text += pieces[piece(random)];
    }
    SchemaProbe probe;
    probe.parse(text);
    unread += probe.problems().size();
    probe.complete();
    read += probe.readCount();
  }
  // So that it is known that both roads were taken.
  EXPECT_GT(read, 0U);
  EXPECT_GT(unread, 0U);
}

/// A million where the build is optimised; in the others, where that takes half a minute, a tenth.
#ifdef __OPTIMIZE__
constexpr std::size_t manyDefinitions = 1000000;
#else
constexpr std::size_t manyDefinitions = 100000;
#endif

TEST(ParseText, ManyDefinitionsAreRead) {
  constexpr std::size_t count = manyDefinitions;
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
  const auto schema = probe.complete();
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_EQ(probe.attributeTypeCount(), count);
  EXPECT_EQ(schema->findAttributeType("A" + std::to_string(count - 1))->equality,
            EqualityRule::caseExact);
}

TEST(ParseText, ManyDefinitionsOfOneOidAreOne) {
  std::string text;
  for (std::size_t i = 0; i < manyDefinitions; ++i) {
    text += "attributetype ( 1.5 NAME 'a' SYNTAX 1.9 )\n";
  }
  SchemaProbe probe;
  probe.parse(text);
  EXPECT_THAT(probe.problems(), IsEmpty());
  EXPECT_NE(probe.complete()->findAttributeType("a"), nullptr);
  EXPECT_EQ(probe.attributeTypeCount(), 1U);
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
