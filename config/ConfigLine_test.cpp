#include "config/ConfigLine.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

struct LineRow {
  const char* name;
  const char* line;
  const char* key;
  const char* value;
  bool skipped;
};

void PrintTo(const LineRow& row, std::ostream* out) {
  *out << row.name;
}

class ConfigLineOf : public ::testing::TestWithParam<LineRow> {};

TEST_P(ConfigLineOf, HasKeyAndValue) {
  const ConfigLine line(GetParam().line);
  EXPECT_EQ(line.key, GetParam().key);
  EXPECT_EQ(line.value, GetParam().value);
  EXPECT_EQ(line.isSkipped(), GetParam().skipped);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ConfigLineOf,
    ::testing::Values(
        LineRow{"KeyAndValue", "inputfile: in.ldif", "inputfile", "in.ldif", false},
        LineRow{"NoBlank", "inputfile:in.ldif", "inputfile", "in.ldif", false},
        LineRow{"BlanksEverywhere", "BaseDN :  O=Example ", "basedn", "O=Example", false},
        LineRow{"BlankInsideTheKey", "base dn: o=x", "basedn", "o=x", false},
        LineRow{"EveryWhiteSpaceInTheKey", " \tb\va\fs\re dn\t: o=x", "basedn", "o=x", false},
        LineRow{"CaseOfTheValueStays", "URL: LDAP://Host", "url", "LDAP://Host", false},
        LineRow{"LaterColonsStay", "url: ldap://host:389/o=a:b", "url", "ldap://host:389/o=a:b",
                false},
        LineRow{"BlanksInsideTheValueStay", "k:  a  b  ", "k", "a  b", false},
        LineRow{"TabsAroundTheValueGo", "k:\t\tab\t\t", "k", "ab", false},
        LineRow{"CarriageReturnGoes", "k: ab\r", "k", "ab", false},
        LineRow{"OneCharacter", "k: a", "k", "a", false},
        // The search for the end of the value stops at its first character.
        LineRow{"OneCharacterKeepsItsBlanks", "k: a  ", "k", "a  ", false},
        LineRow{"OneCharacterKeepsItsTab", "k:   a\t", "k", "a\t", false},
        LineRow{"OneCharacterKeepsItsCarriageReturn", "k: a\r", "k", "a\r", false},
        LineRow{"TwoCharactersKeepNoBlanks", "k: ab  ", "k", "ab", false},
        LineRow{"EmptyValue", "k:", "k", "", false},
        LineRow{"BlankValue", "k: \t ", "k", "", false},
        LineRow{"NoColon", "two Words", "twowords", "two Words", false},
        LineRow{"NoColonAndBlanksAround", "  Two words  ", "twowords", "Two words", false},
        LineRow{"NoColonAndAKey", "logfile", "logfile", "logfile", false},
        LineRow{"EmptyLine", "", "", "", true}, LineRow{"BlankLine", " \t ", "", "", true},
        LineRow{"ColonFirst", ": value", "", "value", true},
        LineRow{"BlankBeforeTheColon", "  : value", "", "value", true},
        LineRow{"ColonAlone", ":", "", "", true},
        LineRow{"Comment", "# a comment", "#acomment", "# a comment", true},
        LineRow{"CommentWithAColon", "#KEY: value", "#key", "value", true},
        LineRow{"CommentBehindBlanks", " \t# x: y", "#x", "y", true},
        LineRow{"NumberSignLater", "k#: v", "k#", "v", false},
        LineRow{"OtherBytesStay", "\xc3\x89: \xc3\x89\xc3\x89", "\xc3\x89", "\xc3\x89\xc3\x89",
                false}),
    [](const ::testing::TestParamInfo<LineRow>& row) { return row.param.name; });

}  // namespace
