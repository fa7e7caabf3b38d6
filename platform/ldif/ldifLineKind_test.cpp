#include "platform/ldif/ldifLineKind.h"

#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "platform/ldif/str_parse_line_v_or_bv.h"

namespace {

/// The kind, with as many bytes behind the line as it may look at and no more: a sanitizer would
/// see it look further. `behind` fills them.
LdifLineKind kindOf(const std::string& line, char behind = '\0') {
  std::vector<char> memory(line.begin(), line.end());
  memory.insert(memory.end(), ldifLinePadding, behind);
  const LdifLineKind kind = ldifLineKind(memory.data(), line.size());
  if (!line.empty() && line.back() == '\n' && isOrdinaryAttributeLine(memory.data())) {
    EXPECT_EQ(kind, LdifLineKind::attribute) << line;
  }
  return kind;
}

/// What the parser makes of a line.
struct Parsed {
  explicit Parsed(const std::string& line) {
    std::vector<char> copy(line.c_str(), line.c_str() + line.size() + 1);
    char* typeText = nullptr;
    char* valueText = nullptr;
    char* url = nullptr;
    int length = 0;
    result =
        str_parse_line_v_or_bv(copy.data(), &typeText, &valueText, &length, 1, &url, &encoding);
    type = typeText != nullptr ? typeText : "";
    value = valueText != nullptr ? valueText : "";
  }

  int result;
  int encoding = 0;
  std::string type;
  std::string value;
};

void expectAgreement(const std::string& line) {
  const Parsed parsed(line);
  for (const char behind : {'\0', '\n', 'A', ':', ';', '='}) {
    switch (kindOf(line, behind)) {
      case LdifLineKind::attribute:
        EXPECT_EQ(parsed.result, ldifLineParsed) << line;
        EXPECT_NE(parsed.encoding, ldifValueUrl) << line;
        EXPECT_NE(parsed.type, "dn") << line;
        break;
      case LdifLineKind::dn:
        EXPECT_EQ(parsed.result, ldifLineParsed) << line;
        EXPECT_EQ(parsed.type, "dn") << line;
        EXPECT_EQ("dn: " + parsed.value + "\n", line);
        break;
      case LdifLineKind::other:
        break;
    }
  }
}

struct KindRow {
  const char* name;
  std::string line;
  LdifLineKind kind;
};

void PrintTo(const KindRow& row, std::ostream* out) {
  *out << row.name;
}

class LineKind : public ::testing::TestWithParam<KindRow> {};

TEST_P(LineKind, IsTold) {
  for (const char behind : {'\0', '\n', 'A', ':', ';', '='}) {
    EXPECT_EQ(kindOf(GetParam().line, behind), GetParam().kind);
  }
  expectAgreement(GetParam().line);
}

constexpr auto attribute = LdifLineKind::attribute;
constexpr auto dn = LdifLineKind::dn;
constexpr auto other = LdifLineKind::other;

INSTANTIATE_TEST_SUITE_P(
    Rows, LineKind,
    ::testing::Values(
        KindRow{"Plain", "cn: Jo\n", attribute}, KindRow{"CarriageReturn", "cn: Jo\r\n", attribute},
        KindRow{"NoBlank", "2.5.4.3:Jo\n", attribute}, KindRow{"EmptyValue", "cn:\n", attribute},
        KindRow{"Folded", "cn: Jo\n hn\n", attribute},
        KindRow{"ColonsInTheValue", "cn: a:b::c\n", attribute},
        KindRow{"NulInTheValue", std::string("cn: a\0b\n", 8), attribute},
        KindRow{"Option", "cn;lang-de: Jo\n", attribute},
        KindRow{"FifteenCharacters", "telephoneNumber: 1\n", attribute},
        KindRow{"SixteenCharacters", "telephoneNumbers: 1\n", attribute},
        KindRow{"ManyCharacters", "x-a.very_long-attribute-type-2: 1\n", attribute},
        KindRow{"ManyCharactersAndOption", "userCertificateOf;binary;x: 1\n", attribute},
        KindRow{"DnInCapitals", "DN: o=x\n", attribute},
        KindRow{"DnWithOption", "dn;x: o=x\n", attribute},
        KindRow{"LongerThanDn", "dnx: o=x\n", attribute},
        KindRow{"EmptyOption", "cn;: Jo\n", other}, KindRow{"NoColon", "cn Jo\n", other},
        KindRow{"NoType", ": Jo\n", other}, KindRow{"NoTypeButOption", ";x: Jo\n", other},
        KindRow{"BlankBeforeTheColon", "cn : Jo\n", other},
        KindRow{"BlankAtTheFront", " cn: Jo\n", other},
        KindRow{"FoldInTheType", "c\n n: Jo\n", other},
        KindRow{"FoldInTheTypeDn", "d\n n: o=x\n", other},
        KindRow{"FoldBehindTheColon", "cn:\n :!!!\n", other},
        KindRow{"FoldBehindTheColonAndCarriageReturn", "cn:\r\n :!!!\n", other},
        KindRow{"Url", "cn:< file:x\n", other}, KindRow{"NoLineEnd", "cn: Jo", other},
        KindRow{"OneByte", "a", other}, KindRow{"Nothing", "", other},
        KindRow{"LineFeed", "\n", other}, KindRow{"Comment", "# cn: Jo\n", other},
        KindRow{"Utf8InTheType", "c\xc3\xa9: Jo\n", other}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Base64, LineKind,
    ::testing::Values(
        KindRow{"OneGroup", "cn:: AAAA\n", attribute}, KindRow{"Empty", "cn::\n", attribute},
        KindRow{"NoBlank", "cn::AAAA\n", attribute}, KindRow{"Blanks", "cn::   AAAA\n", attribute},
        KindRow{"OnePadding", "cn:: AAA=\n", attribute},
        KindRow{"TwoPaddings", "cn:: AA==\n", attribute},
        KindRow{"ThreePaddings", "cn:: A===\n", other},
        KindRow{"PaddingAlone", "cn:: ====\n", other},
        KindRow{"NotAWholeGroup", "cn:: AAAAAA\n", other},
        KindRow{"PaddingTooLate", "cn:: AAAA=\n", other},
        KindRow{"PaddingInside", "cn:: AA==AAAA\n", other},
        KindRow{"BlankInside", "cn:: AA AA\n", other},
        KindRow{"BlankBehind", "cn:: AAAA \n", other},
        KindRow{"EveryDigit",
                "cn:: ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/\n",
                attribute},
        KindRow{"Fold", "cn:: AAA\n A\n", attribute},
        KindRow{"FoldAtTheFront", "cn::\n AAAA\n", attribute},
        KindRow{"FoldAtTheEnd", "cn:: AAAA\n \n", attribute},
        KindRow{"FoldBehindEveryDigit", "cn:: A\n B\n C\n D\n", attribute},
        KindRow{"FoldsInARow", "cn:: AA\n \n \n AA\n", attribute},
        KindRow{"FoldOfTwoBlanks", "cn:: AA\n  AA\n", other},
        KindRow{"CarriageReturn", "cn:: AAAA\r\n", other},
        KindRow{"Nul", std::string("cn:: AAAA\0\n", 11), other},
        KindRow{"OtherByteBehindSixteen", "cn:: AAAAAAAAAAAAAAAAA*AA\n", other},
        KindRow{"OtherByteAtTheEnd", "cn:: AAAAAAAAAAAAAAA*\n", other},
        KindRow{"ManyFolds",
                "cn:: " + std::string(72, 'A') + "\n " + std::string(75, '/') + "\n " +
                    std::string(75, '+') + "\n 0=\n",
                attribute},
        KindRow{"ManyFoldsAndOneDigitTooMany",
                "cn:: " + std::string(72, 'A') + "\n " + std::string(75, '/') + "\n " +
                    std::string(75, '+') + "\n 00=\n",
                other}),
    [](const auto& row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Dn, LineKind,
    ::testing::Values(
        KindRow{"AsWritten", "dn: o=x\n", dn}, KindRow{"BlankInside", "dn: o=x y\n", dn},
        KindRow{"BlankAtTheEnd", "dn: o=x \n", dn}, KindRow{"OfOneCharacter", "dn: x\n", dn},
        KindRow{"Utf8", "dn: cn=\xc3\xa9\n", dn}, KindRow{"NoBlank", "dn:o=x\n", other},
        KindRow{"TwoBlanks", "dn:  o=x\n", other}, KindRow{"Empty", "dn:\n", other},
        KindRow{"BlankAlone", "dn: \n", other}, KindRow{"BlankBeforeTheColon", "dn : o=x\n", other},
        KindRow{"CarriageReturn", "dn: o=x\r\n", other}, KindRow{"Fold", "dn: o=\n x\n", other},
        KindRow{"Nul", std::string("dn: o=\0x\n", 9), other},
        KindRow{"Base64", "dn:: bz14\n", other}, KindRow{"Url", "dn:< o=x\n", other},
        KindRow{"NoLineEnd", "dn: o=x", other}),
    [](const auto& row) { return row.param.name; });

TEST(OrdinaryAttributeLine, IsTold) {
  for (const char* line :
       {"a: x\n", "cn: Jo\n", "chargetypes: x\n", "carLicense: x\n", "dx: x\n", "xn: x\n",
        "ABCDEFGHIJKLMNO: \n", "ABCDEFGHIJKLMNOP: x\n", "telephoneNumber: 1\n", "zZ: \n"}) {
    EXPECT_TRUE(isOrdinaryAttributeLine(std::string(line).append(16, 'A').data())) << line;
  }
  for (const char* line : {"dn: o=x\n",
                           "DN: o=x\n",
                           "dN: x\n",
                           "changetype: add\n",
                           "ChangeType: add\n",
                           "dn:: AAAA\n",
                           "cn:x\n",
                           "cn:: AAAA\n",
                           ": x\n",
                           "a1: x\n",
                           "a;b: x\n",
                           "telephoneNumbersX: 1\n",
                           "a:\n",
                           "a\n",
                           "\n",
                           "# a: x\n",
                           "a@: x\n",
                           "a[: x\n",
                           "a`: x\n",
                           "a{: x\n",
                           "cn : x\n"}) {
    EXPECT_FALSE(isOrdinaryAttributeLine(std::string(line).append(16, 'A').data())) << line;
  }
}

/// Lines that are LDIF more often than not.
std::string randomLine(std::mt19937& random) {
  const auto oneOf = [&](const std::vector<std::string>& texts) {
    return texts[random() % texts.size()];
  };
  std::string line = oneOf({"dn", "cn", "DN", "a;b", "telephoneNumber", "", "x-y.1_2", "d\n n"});
  line += oneOf({":", ": ", ":: ", "::", ":<", " :", ":  "});
  for (auto pieces = random() % 8; pieces > 0; --pieces) {
    line += oneOf({"AAAA", "AA", "A", "=", "==", "\n ", "\n ", "+/09", " ", "\r", "o=x", "*",
                   std::string(1, '\0'), "AAAAAAAAAAAAAAAAAAAA", "\xc3\xa9"});
  }
  return line + oneOf({"\n", "\n", "\n", "\r\n", ""});
}

TEST(RandomLine, IsTheKindThatTheParserFinds) {
  std::mt19937 random(2849);
  int copied = 0;
  for (int i = 0; i < 100000; ++i) {
    const std::string line = randomLine(random);
    ASSERT_NO_FATAL_FAILURE(expectAgreement(line));
    copied += kindOf(line) != other ? 1 : 0;
  }
  EXPECT_GT(copied, 20000);
}

/// Where a line of digits and folds is not taken for base64, the parser does not either, or it is
/// one with something that the quick look leaves to the parser.
TEST(RandomBase64, IsRecognisedWhereTheParserDoes) {
  std::mt19937 random(64);
  int valid = 0;
  for (int i = 0; i < 50000; ++i) {
    std::string line = "cn:: ";
    for (auto pieces = random() % 12; pieces > 0; --pieces) {
      line += std::string(random() % 40, 'x') + (random() % 2 == 0 ? "\n " : "");
    }
    line += std::vector<std::string>{"", "=", "==", "xx==", "xxx=", "x*"}[random() % 6] + "\n";
    const bool parses = Parsed(line).result == ldifLineParsed;
    ASSERT_EQ(kindOf(line) == attribute, parses) << line;
    valid += parses ? 1 : 0;
  }
  EXPECT_GT(valid, 5000);
}

}  // namespace
