#include "platform/schema/Description.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace schema {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const char* const directives[] = {"attributetype",    "objectclass",     "ldapsyntax",
                                  "matchingrule",     "matchingruleuse", "ditcontentrule",
                                  "ditstructurerule", "nameform"};

const DefinitionKind& kindOf(const char* directive) {
  return *findDefinitionKind(FileForm::directives, directive);
}

const DefinitionKind& attributeTypes = kindOf("attributetype");

Description attributeType(std::string_view text) {
  return parseDescription(text, attributeTypes);
}

TEST(Description, HoldsTheFieldsOfAnAttributeType) {
  const Description parsed = attributeType(
      "( 2.5.4.3 NAME ( 'cn' 'commonName' ) DESC 'it\\27s a name ( $ )' OBSOLETE SUP name\n"
      "\tEQUALITY caseIgnoreMatch ORDERING 2.5.13.3 SUBSTR caseIgnoreSubstringsMatch\r\n"
      "  SYNTAX 1.3.6.1.4.1.1466.115.121.1.15{32768} SINGLE-VALUE COLLECTIVE NO-USER-MODIFICATION\n"
      "  USAGE dSAOperation X-ORIGIN 'here' X-MORE ( 'a' 'b' ) )");
  EXPECT_EQ(parsed.identifier, "2.5.4.3");
  EXPECT_THAT(parsed.values("NAME"), ElementsAre("cn", "commonName"));
  EXPECT_THAT(parsed.values("DESC"), ElementsAre("it\\27s a name ( $ )"));
  EXPECT_THAT(parsed.values("SUP"), ElementsAre("name"));
  EXPECT_THAT(parsed.values("EQUALITY"), ElementsAre("caseIgnoreMatch"));
  EXPECT_THAT(parsed.values("ORDERING"), ElementsAre("2.5.13.3"));
  EXPECT_THAT(parsed.values("SUBSTR"), ElementsAre("caseIgnoreSubstringsMatch"));
  EXPECT_THAT(parsed.values("SYNTAX"), ElementsAre("1.3.6.1.4.1.1466.115.121.1.15"));
  EXPECT_THAT(parsed.values("USAGE"), ElementsAre("dSAOperation"));
  EXPECT_THAT(parsed.values("OBSOLETE"), IsEmpty());
  EXPECT_EQ(parsed.fields.size(), 12U);
}

struct GoodRow {
  const char* name;
  const char* directive;
  const char* text;
};

const GoodRow goodRows[] = {
    {"OnlyTheOid", "attributetype", "(1.2)"},
    {"NoBlanks", "attributetype", "(1.2 NAME('a''b')SYNTAX 1.3{4})"},
    {"NoNames", "attributetype", "( 1.2 NAME ( ) )"},
    {"NameWithoutQuotes", "attributetype", "( 1.2 NAME a SUP b )"},
    {"OidsInQuotes", "attributetype", "( '1.2' SYNTAX '1.3' SUP 'b' )"},
    {"FieldsInAnyOrderAndCase", "attributetype",
     "( 1.2 usage DIRECTORYOPERATION syntax 1.3 Name 'a' )"},
    {"EmptyDescription", "attributetype", "( 1.2 DESC '' )"},
    {"UnderscoreInAName", "attributetype", "( 1.2 NAME 'a_b.c-9' )"},
    {"NameForAnOid", "attributetype", "( foo-oid NAME 'foo' )"},
    {"Macros", "attributetype", "( Foo:1.2 SUP Foo:3 SYNTAX Bar EQUALITY Foo:4 )"},
    {"EmptyExtension", "attributetype", "( 1.2 X-A ( ) x-b_c 'd' )"},
    {"Utf8", "attributetype", "( 1.2 DESC '\xC3\xA9' )"},
    {"ObjectClass", "objectclass",
     "( 1.2 NAME 'a' SUP ( top $ 2.5.6.6 ) AUXILIARY MUST cn MAY (sn$l $ o) )"},
    {"AbstractClass", "objectclass", "( 1.2 ABSTRACT )"},
    {"StructuralClass", "objectclass", "( 1.2 STRUCTURAL )"},
    {"Syntax", "ldapsyntax", "( 1.2 DESC 'a' X-SUBST '1.3' )"},
    {"SyntaxWithName", "ldapsyntax", "( 1.2 NAME 'a' DESC 'b' )"},
    {"MatchingRule", "matchingrule", "( 1.2 NAME 'a' SYNTAX 1.3 )"},
    {"MatchingRuleUse", "matchingruleuse", "( 1.2 NAME 'a' APPLIES ( cn $ sn ) )"},
    {"ContentRule", "ditcontentrule", "( 1.2 NAME 'a' AUX b MUST c MAY ( d $ e ) NOT f )"},
    {"StructureRule", "ditstructurerule", "( 3 NAME 'a' FORM b SUP ( 1 2 ) )"},
    {"StructureRuleBelowOne", "ditstructurerule", "( 3 FORM b SUP 1 )"},
    {"NameForm", "nameform", "( 1.2 NAME 'a' OC b MUST c MAY d )"},
};

class GoodDescription : public ::testing::TestWithParam<GoodRow> {};

TEST_P(GoodDescription, IsRead) {
  EXPECT_NO_THROW(parseDescription(GetParam().text, kindOf(GetParam().directive)));
}

/// Every prefix of it lacks at least the last parenthesis.
TEST_P(GoodDescription, IsRefusedWhereverItIsCut) {
  const std::string_view text = GetParam().text;
  for (std::size_t length = 0; length < text.size(); ++length) {
    try {
      parseDescription(text.substr(0, length), kindOf(GetParam().directive));
      ADD_FAILURE() << "read: " << text.substr(0, length);
    } catch (const DefinitionError& error) {
      EXPECT_LE(error.offset(), length);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, GoodDescription, ::testing::ValuesIn(goodRows),
                         [](const auto& row) { return std::string(row.param.name); });

struct BadRow {
  const char* name;
  const char* text;  ///< the fault is where the first ^ stands; the ^ is not part of the text
  const char* reason;
};

const BadRow badRows[] = {
    {"Empty", "^", "ends where \"(\""},
    {"NoParenthesis", "^1.2 NAME 'a'", "\"1.2\" stands where \"(\""},
    {"NoOid", "( ^)", "\")\" stands where the dotted number"},
    {"OidIsAList", "( ^( 1.2 ) )", "\"(\" stands where the dotted number"},
    {"OidWithEmptyArc", "( ^1..2 )", "\"1..2\""},
    {"OidWithDotAtTheEnd", "( ^1.2. )", "\"1.2.\""},
    {"OidWithDotInFront", "( ^.1.2 )", "\".1.2\""},
    {"OidOfOneArc", "( ^1 )", "\"1\""},
    {"OidWithLeadingZero", "( ^1.02 )", "\"1.02\""},
    {"OidWithMinus", "( ^1.-2 )", "\"1.-2\""},
    {"MacroWithoutName", "( ^:1 )", "\":1\""},
    {"MacroWithBadSuffix", "( ^Foo:x )", "\"Foo:x\""},
    {"MacroWithoutSuffix", "( ^Foo: )", "\"Foo:\""},
    {"NotClosed", "( 1.2 NAME 'a' ^", "ends where a keyword or \")\""},
    {"ClosedTwice", "( 1.2 NAME 'a' ) ^)", "stands where its end"},
    {"MoreBehind", "( 1.2 NAME 'a' ) ^NAME 'b'", "\"NAME\" stands where its end"},
    {"UnknownKeyword", "( 1.2 ^NAMES 'a' )", "\"NAMES\" stands where a keyword"},
    {"KeywordInQuotes", "( 1.2 ^'NAME' 'a' )", "stands where a keyword"},
    {"KeywordOfAnotherKind", "( 1.2 ^MUST cn )", "\"MUST\""},
    {"KeywordTwice", "( 1.2 NAME 'a' ^NAME 'b' )", "NAME stands twice"},
    {"FlagTwice", "( 1.2 OBSOLETE ^OBSOLETE )", "OBSOLETE stands twice"},
    {"QuoteNotClosed", "( 1.2 NAME ^'a )", "\"'a )\" has no closing quote"},
    {"DescWithoutQuotes", "( 1.2 DESC ^a )", "\"a\" stands where a text in quotes"},
    {"NameIsMissing", "( 1.2 NAME ^)", "\")\" stands where a name"},
    {"NameIsEmpty", "( 1.2 NAME ^'' )", "\"\" is no name"},
    {"NameWithDigitInFront", "( 1.2 NAME ^'1a' )", "\"1a\" is no name"},
    {"NameWithBlank", "( 1.2 NAME ^'a b' )", "\"a b\" is no name"},
    {"NameWithHighByte", "( 1.2 NAME ^'\xE9' )", "\"\\E9\" is no name"},
    {"NamesNotClosed", "( 1.2 NAME ( 'a' 'b' ^", "ends where a name"},
    {"NamesInNamesList", "( 1.2 NAME ( ^( 'a' ) ) )", "\"(\" stands where a name"},
    {"SupIsAList", "( 1.2 SUP ^( a $ b ) )", "\"(\" stands where"},
    {"SupIsNoName", "( 1.2 SUP ^a/b )", "\"a/b\" is neither"},
    {"EqualityIsMissing", "( 1.2 EQUALITY ^)", "\")\" stands where"},
    {"SyntaxLengthIsEmpty", "( 1.2 SYNTAX ^1.3{} )", "\"1.3{}\" is no syntax"},
    {"SyntaxLengthNotClosed", "( 1.2 SYNTAX ^1.3{5 )", "\"1.3{5\" is no syntax"},
    {"SyntaxLengthIsNoNumber", "( 1.2 SYNTAX ^1.3{a} )", "\"1.3{a}\" is no syntax"},
    {"SyntaxLengthAlone", "( 1.2 SYNTAX ^{5} )", "\"{5}\" is no syntax"},
    {"SyntaxIsMissing", "( 1.2 SYNTAX ^", "ends where the dotted number of a syntax"},
    {"UsageIsUnknown", "( 1.2 USAGE ^userApplication )", "\"userApplication\" stands where"},
    {"ExtensionWithoutValue", "( 1.2 X-A ^)", "\")\" stands where a text in quotes"},
    {"ExtensionOfWords", "( 1.2 X-A ^b )", "\"b\" stands where a text in quotes"},
    {"ExtensionWithoutName", "( 1.2 ^X- 'a' )", "\"X-\" stands where a keyword"},
    {"Dollar", "( 1.2 ^$ )", "\"$\" stands where a keyword"},
};

class BadDescription : public ::testing::TestWithParam<BadRow> {};

TEST_P(BadDescription, IsRefusedWithPlaceAndReason) {
  std::string text = GetParam().text;
  const std::size_t place = text.find('^');
  ASSERT_NE(place, std::string::npos);
  text.erase(place, 1);
  try {
    attributeType(text);
    FAIL() << "read";
  } catch (const DefinitionError& error) {
    EXPECT_EQ(error.offset(), place);
    EXPECT_THAT(error.what(), HasSubstr(GetParam().reason));
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, BadDescription, ::testing::ValuesIn(badRows),
                         [](const auto& row) { return std::string(row.param.name); });

struct BadOtherRow {
  const char* name;
  const char* directive;
  const char* text;
};

const BadOtherRow badOtherRows[] = {
    {"OidsWithoutDollar", "objectclass", "( 1.2 MAY ( a b ) )"},
    {"OidsEndInDollar", "objectclass", "( 1.2 MAY ( a $ ) )"},
    {"OidsEmpty", "objectclass", "( 1.2 MAY ( ) )"},
    {"OidsBeginWithDollar", "objectclass", "( 1.2 MAY ( $ a ) )"},
    {"RuleIdIsAName", "ditstructurerule", "( a FORM b )"},
    {"RuleIdsEmpty", "ditstructurerule", "( 1 FORM b SUP ( ) )"},
    {"RuleIdsOfNames", "ditstructurerule", "( 1 FORM b SUP ( a ) )"},
    {"RuleIdInQuotes", "ditstructurerule", "( '1' FORM b )"},
    {"SyntaxWithSyntax", "ldapsyntax", "( 1.2 SYNTAX 1.3 )"},
};

class BadOtherDescription : public ::testing::TestWithParam<BadOtherRow> {};

TEST_P(BadOtherDescription, IsRefused) {
  EXPECT_THROW(parseDescription(GetParam().text, kindOf(GetParam().directive)), DefinitionError);
}

INSTANTIATE_TEST_SUITE_P(Rows, BadOtherDescription, ::testing::ValuesIn(badOtherRows),
                         [](const auto& row) { return std::string(row.param.name); });

/// Changing one byte either leaves a description or is located within the text.
TEST(Description, SurvivesEveryChangeOfOneByte) {
  const std::string good =
      "( 1.2 NAME ( 'a' 'b' ) SUP c SYNTAX 1.3{4} USAGE dSAOperation X-D 'e' )";
  int read = 0;
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string text = good;
      text[at] = static_cast<char>(byte);
      try {
        attributeType(text);
        ++read;
      } catch (const DefinitionError& error) {
        EXPECT_LE(error.offset(), text.size());
        EXPECT_THAT(error.what(), ::testing::Not(HasSubstr("\n")));
      }
    }
  }
  EXPECT_GT(read, 0);
}

/// Random sequences of the pieces that descriptions are made of.
TEST(Description, SurvivesRandomTokens) {
  const std::vector<std::string> pieces = {"(",    ")",    "'",      "$",    " ",    "\n", "1.2",
                                           "NAME", "DESC", "SYNTAX", "'a'",  "SUP",  "X-", "X-A",
                                           "{",    "}",    "USAGE",  "\xFF", "MUST", ":",  "a"};
  std::mt19937 random(20240229);
  std::uniform_int_distribution<std::size_t> piece(0, pieces.size() - 1);
  int refused = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string text = "( 1.2 ";
    for (int i = 0; i < 12; ++i) {
      text += pieces[piece(random)];
    }
    for (const char* directive : directives) {
      try {
        parseDescription(text, kindOf(directive));
      } catch (const DefinitionError& error) {
        ++refused;
        ASSERT_LE(error.offset(), text.size()) << text;
      }
    }
  }
  EXPECT_GT(refused, 0);
}

TEST(Description, ShowsATokenOnOneLineOfPrintableAscii) {
  EXPECT_EQ(shown("abc"), "\"abc\"");
  EXPECT_EQ(shown(" ~"), "\" ~\"");
  EXPECT_EQ(shown(std::string("\0\n\x7F\xC3", 4)), "\"\\00\\0A\\7F\\C3\"");
  EXPECT_EQ(shown(std::string(40, 'a')), '"' + std::string(40, 'a') + '"');
  EXPECT_EQ(shown(std::string(41, 'a')), '"' + std::string(40, 'a') + "...\"");
}

TEST(Description, OrderingPrefixIsTakenOff) {
  EXPECT_EQ(withoutOrderingPrefix(" {0}( 1.2 )"), "( 1.2 )");
  EXPECT_EQ(withoutOrderingPrefix("{1234} ( 1.2 ) "), "( 1.2 )");
  EXPECT_EQ(withoutOrderingPrefix("( 1.2 )"), "( 1.2 )");
  for (const char* other : {"{}( 1.2 )", "{a}( 1.2 )", "{1( 1.2 )", "{"}) {
    EXPECT_EQ(withoutOrderingPrefix(other), other);
  }
}

}  // namespace

}  // namespace schema
