#include "platform/ldif/str_parse_line_v_or_bv.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace {

/// A result with everything that a caller sees; unset pointers are shown as "(null)".
struct Parsed {
  int result = 0;
  std::string type = "(null)";
  std::string value = "(null)";
  std::string url = "(null)";
  int encoding = 0;

  bool operator==(const Parsed&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Parsed& parsed) {
  return out << parsed.result << " [" << parsed.type << "] [" << parsed.value << "] [" << parsed.url
             << "] " << parsed.encoding;
}

Parsed parse(const std::string& text) {
  // A copy of exactly the line and its NUL, so that a sanitizer sees any byte beyond.
  std::vector<char> line(text.c_str(), text.c_str() + text.size() + 1);
  char* type = nullptr;
  char* value = nullptr;
  char* url = nullptr;
  int length = 0;
  Parsed parsed;
  parsed.result =
      str_parse_line_v_or_bv(line.data(), &type, &value, &length, 1, &url, &parsed.encoding);
  if (type != nullptr) {
    parsed.type = type;
  }
  if (value != nullptr) {
    parsed.value.assign(value, static_cast<std::size_t>(length));
    EXPECT_EQ(value[length], '\0');
  }
  if (url != nullptr) {
    parsed.url = url;
  }
  return parsed;
}

Parsed plain(const std::string& type, const std::string& value) {
  return {0, type, value, "(null)", ldifValuePlain};
}

Parsed base64(const std::string& type, const std::string& value) {
  return {0, type, value, "(null)", ldifValueBase64};
}

const Parsed invalid{ldifLineInvalid, "(null)", "(null)", "(null)", 0};
const Parsed skipped{ldifLineSkipped, "(null)", "(null)", "(null)", 0};

struct Row {
  const char* name;
  std::string line;
  Parsed expected;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class LineRow : public ::testing::TestWithParam<Row> {};

TEST_P(LineRow, NothingBehindTheLineIsWritten) {
  const std::string behind(64, '#');
  std::string room = GetParam().line + '\0' + behind;
  char* type = nullptr;
  char* value = nullptr;
  char* url = nullptr;
  int length = 0;
  int encoding = 0;
  str_parse_line_v_or_bv(room.data(), &type, &value, &length, 1, &url, &encoding);
  EXPECT_EQ(room.substr(room.size() - behind.size()), behind);
}

TEST_P(LineRow, Parses) {
  EXPECT_EQ(parse(GetParam().line), GetParam().expected);
}

TEST(Line, LineFeedThatIsNoFoldIsInvalid) {
  EXPECT_EQ(parse("cn: Jo\nsn: x\n"), invalid);
}

INSTANTIATE_TEST_SUITE_P(
    Plain, LineRow,
    ::testing::Values(Row{"TypeAndValue", "cn: Jo\n", plain("cn", "Jo")},
                      Row{"CarriageReturnLineFeed", "cn: Jo\r\n", plain("cn", "Jo")},
                      Row{"NoLineEnd", "cn: Jo", plain("cn", "Jo")},
                      Row{"NoBlankBehindTheColon", "cn:Jo\n", plain("cn", "Jo")},
                      Row{"BlanksBehindTheColonGo", "cn:   Jo\n", plain("cn", "Jo")},
                      Row{"BlanksAtTheEndStay", "cn: Jo  \n", plain("cn", "Jo  ")},
                      Row{"TabIsNoBlank", "cn:\tJo\n", plain("cn", "\tJo")},
                      Row{"BlanksBeforeTheColonAreIgnored", "cn  : Jo\n", plain("cn", "Jo")},
                      Row{"EmptyValue", "cn:\n", plain("cn", "")},
                      Row{"EmptyValueAfterBlanks", "cn:  \n", plain("cn", "")},
                      Row{"ColonsInTheValue", "cn: a:b::c\n", plain("cn", "a:b::c")},
                      Row{"CarriageReturnInTheValueStays", "cn: a\rb\r\r\n", plain("cn", "a\rb\r")},
                      Row{"LoneCarriageReturnAtTheEndStays", "cn: a\r", plain("cn", "a\r")},
                      Row{"ValueThatLooksLikeAComment", "cn: #a\n", plain("cn", "#a")},
                      Row{"Utf8Value", "cn: Zo\xc3\xab\n", plain("cn", "Zo\xc3\xab")},
                      Row{"CaseOfTheTypeStays", "DN: o=x\n", plain("DN", "o=x")},
                      Row{"DottedNumberAsType", "2.5.4.3: Jo\n", plain("2.5.4.3", "Jo")},
                      Row{"HyphenAndUnderscoreInType", "x-my_type: 1\n", plain("x-my_type", "1")},
                      Row{"Options", "cn;lang-de;x-1: Jo\n", plain("cn;lang-de;x-1", "Jo")}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Folds, LineRow,
    ::testing::Values(Row{"InTheValue", "cn: Jo\n hn\n", plain("cn", "John")},
                      Row{"CarriageReturnLineFeed", "cn: Jo\r\n hn\r\n", plain("cn", "John")},
                      Row{"OnlyOneBlankBelongsToTheFold", "cn: Jo\n  hn\n", plain("cn", "Jo hn")},
                      Row{"InTheType", "c\n n: Jo\n", plain("cn", "Jo")},
                      Row{"BeforeTheColon", "cn\n : Jo\n", plain("cn", "Jo")},
                      Row{"BehindTheColon", "cn:\n Jo\n", plain("cn", "Jo")},
                      Row{"EmptyContinuation", "cn: Jo\n \n", plain("cn", "Jo")},
                      Row{"Many", "c\n n\n :\n  J\n o\n", plain("cn", "Jo")},
                      Row{"InBase64", "cn:: Sm\n 9o\n bg==\n", base64("cn", "John")},
                      Row{"InsideBase64Padding", "cn:: Sm9obg=\n =\n", base64("cn", "John")},
                      Row{"SecondColonInTheFold", "cn:\n :Sm9obg==\n", base64("cn", "John")},
                      Row{"BadBase64InTheFold", "cn:\n :!!!\n", invalid},
                      Row{"BadBase64InTheFoldCarriageReturn", "cn:\r\n :!!!\r\n", invalid}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Base64, LineRow,
    ::testing::Values(Row{"Decoded", "cn:: Sm9obg==\n", base64("cn", "John")},
                      Row{"NoBlank", "cn::Sm9obg==\n", base64("cn", "John")},
                      Row{"Empty", "cn::\n", base64("cn", "")},
                      Row{"NulInside", "cn:: YQBi\n", base64("cn", std::string("a\0b", 3))},
                      Row{"LeftOverBitsAccepted", "cn:: Zh==\n", base64("cn", "f")},
                      Row{"LineFeedStaysInOtherTypes", "cn:: YQpi\n", base64("cn", "a\nb")},
                      Row{"UpperCaseDnIsAnotherType", "DN:: YQpi\n", base64("DN", "a\nb")},
                      Row{"WithoutPadding", "cn:: Sm9obg\n", invalid},
                      Row{"BlankInside", "cn:: Sm9o bg==\n", invalid},
                      Row{"BlankBehind", "cn:: Sm9obg== \n", invalid},
                      Row{"OtherCharacter", "cn:: Sm9o*g==\n", invalid}),
    [](const auto& row) { return row.param.name; });

// The base64 of each DN was made with `printf ... | base64`.
INSTANTIATE_TEST_SUITE_P(
    Base64Dn, LineRow,
    ::testing::Values(
        Row{"OrdinaryDnAsItIs", "dn:: Y249YSxvPXg=\n", base64("dn", "cn=a,o=x")},
        Row{"Utf8AsItIs", "dn:: Y249w6k=\n", base64("dn", "cn=\xc3\xa9")},
        Row{"LeadingBlanksGo", "dn:: ICBjbj1h\n", base64("dn", "cn=a")},
        Row{"LineFeed", "dn:: Y249YQpiPWM=\n", base64("dn", "cn=a\\0Ab=c")},
        Row{"NulAndDel", "dn:: Y249AH8=\n", base64("dn", "cn=\\00\\7F")},
        Row{"EscapedLineFeedKeepsOneBackslash", "dn:: Y249YVwKYg==\n", base64("dn", "cn=a\\0Ab")},
        Row{"EscapedBackslashBeforeLineFeed", "dn:: Y249YVxcCmI=\n", base64("dn", "cn=a\\\\\\0Ab")},
        Row{"HexPairStays", "dn:: Y249YVwwYQ==\n", base64("dn", "cn=a\\0a")},
        Row{"HexDigitAloneIsNoPair", "dn:: Y249XGEK\n", base64("dn", "cn=\\a\\0A")},
        Row{"LastEscapedBlank", "dn:: Y249YVwg\n", base64("dn", "cn=a\\20")},
        Row{"BlanksBehindLastEscapedBlankGo", "dn:: Y249YVwgICA=\n", base64("dn", "cn=a\\20")},
        Row{"EscapedBackslashBlanksStay", "dn:: Y249YVxcICA=\n", base64("dn", "cn=a\\\\  ")},
        Row{"ThreeBackslashesAndBlanks", "dn:: Y249YVxcXCAg\n", base64("dn", "cn=a\\\\\\20")},
        Row{"EscapedBlankBeforeTheEndStays", "dn:: Y249XCBh\n", base64("dn", "cn=\\ a")},
        Row{"LastBlankWithoutEscapeStays", "dn:: Y249YSA=\n", base64("dn", "cn=a ")},
        Row{"BlankBehindEscapedBackslashStays", "dn:: Y249YVxcIA==\n", base64("dn", "cn=a\\\\ ")},
        Row{"LoneBackslashAtTheEnd", "dn:: Y249YVw=\n", base64("dn", "cn=a\\")},
        Row{"OnlyBlanks", "dn:: ICAg\n", base64("dn", "")},
        // No line feed, which would leave room for one byte more.
        Row{"FillsTheLineWithItsNul", "dn:: eAo=", base64("dn", "x\\0A")},
        Row{"LongerByItsNulThanTheLine", "dn:: eAo9", base64("dn", "x\\0A=")},
        Row{"LongerThanTheLineBehindLeadingBlanks", "dn:: ICAgAQFh", base64("dn", "\\01\\01a")},
        Row{"LongerThanTheLine", "dn:: AQEBAQEBAQEBAQEB\n",
            base64("dn", "\\01\\01\\01\\01\\01\\01\\01\\01\\01\\01\\01\\01")}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Other, LineRow,
    ::testing::Values(
        Row{"Url",
            "jpegPhoto:< file:///tmp/x\n",
            {0, "jpegPhoto", "", "file:///tmp/x", ldifValueUrl}},
        Row{"UrlWithoutBlank", "a:<file:x\n", {0, "a", "", "file:x", ldifValueUrl}},
        Row{"UrlAsDnHasNoValue", "dn:< o=x\n", {0, "dn", "", "o=x", ldifValueUrl}},
        Row{"Comment", "# cn: Jo\n", skipped}, Row{"CommentWithFold", "# a\n b\n", skipped},
        Row{"EmptyText", "", skipped}, Row{"EmptyLine", "\n", skipped},
        Row{"EmptyLineCarriageReturn", "\r\n", skipped}, Row{"NoColon", "cn Jo\n", invalid},
        Row{"Separator", "-\n", invalid}, Row{"EmptyType", ": Jo\n", invalid},
        Row{"BlankBeforeTheType", " cn: Jo\n", invalid},
        Row{"BlankInTheType", "c n: Jo\n", invalid}, Row{"EmptyOption", "cn;: Jo\n", invalid},
        Row{"EmptyOptionInside", "cn;;x: Jo\n", invalid},
        Row{"OptionWithoutType", ";x: Jo\n", invalid}, Row{"SlashInTheType", "c/n: Jo\n", invalid},
        Row{"Utf8InTheType", "c\xc3\xa9: Jo\n", invalid},
        Row{"TabBeforeTheColon", "cn\t: Jo\n", invalid},
        Row{"NulBeforeTheColon", std::string("cn\0: Jo\n", 8), invalid},
        Row{"LoneCarriageReturn", "\r", invalid}, Row{"TypeAlone", "cn", invalid}),
    [](const auto& row) { return row.param.name; });

// The parser sees a text that ends at the first NUL: what follows is the caller's to keep.
TEST(Line, NulInAPlainValueEndsIt) {
  EXPECT_EQ(parse(std::string("cn: a\0b\n", 8)), plain("cn", "a"));
}

TEST(Line, EveryPrefixOfALineIsParsedOrRefused) {
  const std::string line = "dn;x-1 :: Y249YVwKYixvPXg=\r\n IA==\r\n";
  for (std::size_t length = 0; length <= line.size(); ++length) {
    const int result = parse(line.substr(0, length)).result;
    EXPECT_TRUE(result == 0 || result == -1 || result == -2) << length;
  }
}

TEST(Line, EveryByteAtEveryPlaceIsParsedOrRefused) {
  const std::string line = "dn:: Y249YVwKYg==\n AA==\n";
  for (std::size_t at = 0; at < line.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string changed = line;
      changed[at] = static_cast<char>(byte);
      const Parsed parsed = parse(changed);
      if (parsed.type == "dn" && parsed.encoding == ldifValueBase64) {
        EXPECT_EQ(parsed.value.find('\n'), std::string::npos) << at << ' ' << byte;
        EXPECT_EQ(parsed.value.find('\0'), std::string::npos) << at << ' ' << byte;
      }
    }
  }
}

}  // namespace
