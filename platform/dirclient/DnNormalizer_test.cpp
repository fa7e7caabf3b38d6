#include "platform/dirclient/DnNormalizer.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "platform/dirclient/NormalFormScan.h"
#include "platform/schema/Schema.h"
#include "testsupport/SchemaProbe.h"

namespace {

using dirclient::DnNormalizer;
using dirclient::NormalAva;

/// The normal form, or nothing for what is no usable DN.
std::optional<std::string> normalForm(const std::string& dn,
                                      const schema::Schema* schema = nullptr) {
  DnNormalizer normalizer(schema);
  if (!normalizer.normalize(dn)) {
    EXPECT_EQ(normalizer.text(), "");
    EXPECT_EQ(normalizer.rdnCount(), 0);
    EXPECT_TRUE(normalizer.avas().empty());
    return std::nullopt;
  }
  return std::string(normalizer.text());
}

struct Row {
  const char* name;
  std::string written;
  std::string normal;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

std::string nameOf(const ::testing::TestParamInfo<Row>& info) {
  return info.param.name;
}

class LightRdn : public ::testing::TestWithParam<Row> {};

TEST_P(LightRdn, HasItsNormalForm) {
  EXPECT_EQ(normalForm(GetParam().written), GetParam().normal);
}

TEST_P(LightRdn, HasItAtEveryPlaceOfADn) {
  const Row& row = GetParam();
  EXPECT_EQ(normalForm(row.written + ",OU=B,O=C"), row.normal + ",OU=B,O=C");
  EXPECT_EQ(normalForm("OU=B," + row.written + ",O=C"), "OU=B," + row.normal + ",O=C");
  EXPECT_EQ(normalForm("OU=B,O=C," + row.written), "OU=B,O=C," + row.normal);
  EXPECT_EQ(normalForm("ou=b ; " + row.written + " ; o=c"), "OU=B," + row.normal + ",O=C");
}

TEST_P(LightRdn, NormalFormIsItsOwn) {
  EXPECT_EQ(normalForm(GetParam().normal), GetParam().normal);
}

INSTANTIATE_TEST_SUITE_P(
    Syntax, LightRdn,
    ::testing::Values(
        Row{"AlreadyNormal", "CN=JO", "CN=JO"}, Row{"LowerCase", "cn=jo", "CN=JO"},
        Row{"BlanksAroundEquals", "cn =  jo", "CN=JO"},
        Row{"BlanksAroundTheRdn", "  cn=jo  ", "CN=JO"}, Row{"EmptyValue", "cn=", "CN="},
        Row{"OnlyBlanksAreEmpty", "cn=   ", "CN="},
        Row{"EscapedBlanksOnlyAreEmpty", "cn=\\ \\20", "CN="},
        Row{"BlanksInsideBecomeOne", "cn = Local  Host", "CN=LOCAL HOST"},
        Row{"EscapedBlankInside", "cn=a\\ b", "CN=A B"},
        Row{"EscapedBlankAtTheEndIsInsignificant", "cn=a\\ ", "CN=A"},
        Row{"DottedNumber", "2.5.4.3=jo", "2.5.4.3=JO"},
        Row{"OidPrefix", "oid.2.5.4.3=jo", "2.5.4.3=JO"},
        Row{"OidPrefixInUpperCase", "OID.2.5.4.3=JO", "2.5.4.3=JO"},
        Row{"OidPrefixTwice", "oid.Oid.2.5=jo", "2.5=JO"},
        Row{"TypeThatBeginsLikeThePrefix", "oidx=jo", "OIDX=JO"},
        Row{"HyphenUnderscoreDotInType", "x-my_t.1=jo", "X-MY_T.1=JO"},
        Row{"EqualsInTheValue", "cn=a=b", "CN=A=B"},
        Row{"LessAndGreater", "cn=a<b>c", "CN=A\\<B\\>C"},
        Row{"NumberSignInside", "cn=a#b", "CN=A#B"}, Row{"QuoteInside", "cn=a\"b", "CN=A\\\"B"},
        Row{"QuotedValue", "cn=\"a, b; c+d\"", "CN=A\\, B\\; C\\+D"},
        Row{"QuotedWithEscapes", "cn=\"a\\\"b\\2C\"", "CN=A\\\"B\\,"},
        Row{"QuotedBlanksAreInsignificant", "cn=\"  a \" ", "CN=A"},
        Row{"QuotedEmpty", "cn=\"\"", "CN="}, Row{"QuotedNumberSign", "cn=\"#41\"", "CN=\\#41"},
        Row{"EscapedSpecials", "cn=\\,\\;\\+\\<\\>\\\"\\\\", "CN=\\,\\;\\+\\<\\>\\\"\\\\"},
        Row{"HexEscapesOfSpecials", "cn=\\2c\\3B\\5c", "CN=\\,\\;\\\\"},
        Row{"NeedlessEscapes", "cn=\\j\\=\\o", "CN=J=O"},
        Row{"HexEscapedLetters", "cn=\\6a\\6F", "CN=JO"},
        Row{"HexDigitThatIsNoPair", "cn=\\ax", "CN=AX"},
        Row{"ControlsGo", "cn=a\\01\\00\\7Fb", "CN=AB"},
        Row{"TabAndLineFeedAreBlanks", "cn=a\\09\\0Ab", "CN=A B"},
        Row{"BerValue", "1.2.3=#04024f6b", "1.2.3=#04024F6B"},
        Row{"BerValueBeforeBlanks", "1.2.3=#04  ", "1.2.3=#04"},
        Row{"OddNumberOfDigitsIsText", "cn=#041", "CN=\\#041"},
        Row{"NumberSignAlone", "cn=#", "CN=\\#"}, Row{"NumberSignAndText", "cn=#ok", "CN=\\#OK"},
        Row{"EscapedNumberSignIsText", "cn=\\#41", "CN=\\#41"},
        Row{"HexEscapedNumberSignIsText", "cn=\\2341", "CN=\\#41"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    MultiValued, LightRdn,
    ::testing::Values(Row{"SortedByBytes", "uid=jo+cn=jo", "CN=JO+UID=JO"},
                      Row{"BlanksAroundPlus", "uid=jo + cn=jo", "CN=JO+UID=JO"},
                      Row{"SortedAlready", "CN=JO+UID=JO", "CN=JO+UID=JO"},
                      Row{"UnsortedInUpperCase", "UID=JO+CN=JO", "CN=JO+UID=JO"},
                      Row{"SortedAfterFolding", "cn=b+CN=a", "CN=A+CN=B"},
                      Row{"EqualPartsBothStay", "cn=a+CN=A", "CN=A+CN=A"},
                      // '=' (3D) sorts before 'A' (41), so the shorter type comes first.
                      Row{"ShorterTypeFirst", "CNA=X+CN=Z", "CN=Z+CNA=X"},
                      Row{"EmptyValues", "b=+a=", "A=+B="},
                      Row{"ThreeParts", "c=1+a=1+b=1", "A=1+B=1+C=1"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Utf8, LightRdn,
    ::testing::Values(
        Row{"LettersBeyondAscii", "cn=m\xc3\xbcller", "CN=M\xc3\x9cLLER"},
        Row{"HexEscapedUtf8", "cn=m\\C3\\BCller", "CN=M\xc3\x9cLLER"},
        Row{"ComposedAndDecomposedMeet", "cn=mu\xcc\x88ller", "CN=M\xc3\x9cLLER"},
        // U+00DF folds to ss, which the capitals fold back to.
        Row{"SharpS",
            "cn=stra\xc3\x9f"
            "e",
            "CN=STRASSE"},
        Row{"NoBreakSpaceIsABlank", "cn=a\xc2\xa0 b", "CN=A B"},
        // U+00A8 is a blank and U+0308 by NFKC; a blank before a combining mark is significant.
        Row{"SignificantBlankAtTheStart", "cn=\xc2\xa8", "CN=\\20\xcc\x88"},
        Row{"NotUtf8StaysByteForByte", "cn=\\FFa",
            "CN=\xff"
            "A"},
        Row{"NotUtf8KeepsItsBlanks", "cn=\\20\xff  x\\20", "CN=\\20\xff  X\\20"},
        Row{"NotUtf8EscapesControls", "cn=\xff\\01\\7f", "CN=\xff\\01\\7F"}),
    nameOf);

class NoDn : public ::testing::TestWithParam<Row> {};

TEST_P(NoDn, IsRefused) {
  EXPECT_EQ(normalForm(GetParam().written), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    Syntax, NoDn,
    ::testing::Values(
        Row{"Empty", "", ""}, Row{"OnlyBlanks", "   ", ""}, Row{"NoEquals", "cn", ""},
        Row{"EmptyType", "=a", ""}, Row{"OnlyOidPrefix", "oid.=a", ""},
        Row{"BlankInTheType", "c n=a", ""}, Row{"PlusInTheType", "c+n=a", ""},
        Row{"SlashInTheType", "c/n=a", ""}, Row{"TabBeforeTheType", "\tcn=a", ""},
        Row{"Utf8InTheType", "c\xc3\xa9=a", ""}, Row{"EmptyRdnInside", "cn=a,,o=b", ""},
        Row{"EmptyRdnAtTheStart", ",cn=a", ""}, Row{"TrailingComma", "cn=a,", ""},
        Row{"TrailingSemicolon", "cn=a;", ""}, Row{"TrailingPlus", "cn=a+", ""},
        Row{"TrailingCommaAndBlanks", "cn=a,  ", ""}, Row{"SecondPartWithoutEquals", "cn=a+b", ""},
        Row{"LoneBackslash", "cn=a\\", ""}, Row{"UnclosedQuote", "cn=\"a", ""},
        Row{"UnclosedQuoteByEscape", "cn=\"a\\\"", ""}, Row{"QuoteEndsInBackslash", "cn=\"a\\", ""},
        Row{"TextBehindTheQuote", "cn=\"a\"b", ""}, Row{"LineFeedBeforeTheType", "\ncn=a", ""}),
    nameOf);

// G is no hexadecimal digit, so that no pair of digits comes about.
TEST(Light, BackslashStaysBeforeTheSpecialCharactersAlone) {
  const std::string special = "\"+,;<>\\";
  for (char c = '!'; c <= '~'; ++c) {
    const bool isSmall = c >= 'a' && c <= 'z';
    const std::string written = std::string("CN=A\\") + c + "G";
    std::string normal = "CN=A";
    normal += special.find(c) != std::string::npos ? "\\" : "";
    normal += isSmall ? static_cast<char>(c - 'a' + 'A') : c;
    EXPECT_EQ(normalForm(written), normal + "G") << written;
  }
}

TEST(Light, WorksOnTheSystemsOwnNames) {
  for (const char* spelling :
       {"cn=localhost", "CN = LocalHost", "oid.cn=localhost", "cn=\"localhost\"", "cn=local\\68ost",
        " cn=localhost ", "cn=LOCALHOST"}) {
    EXPECT_EQ(normalForm(spelling), "CN=LOCALHOST") << spelling;
  }
}

TEST(Light, AssertionsStandInTheOrderWritten) {
  DnNormalizer dn;
  ASSERT_TRUE(dn.normalize("cn=x,ou=a+l=b,o=c"));
  EXPECT_EQ(dn.text(), "CN=X,L=B+OU=A,O=C");
  EXPECT_EQ(dn.written(), "CN=X,OU=A+L=B,O=C");
  EXPECT_EQ(dn.rdnCount(), 3);
  ASSERT_EQ(dn.avas().size(), 4U);
  const std::vector<bool> lastInRdn = {true, false, true, true};
  for (std::size_t i = 0; i < lastInRdn.size(); ++i) {
    EXPECT_EQ(dn.avas()[i].lastInRdn, lastInRdn[i]) << i;
  }
}

/// TYPE, VALUE and what stands between them of each assertion, by the places that the object tells.
std::vector<std::string> assertionsOf(const std::string& dn) {
  DnNormalizer normalizer;
  EXPECT_TRUE(normalizer.normalize(dn)) << dn;
  const std::string_view written = normalizer.written();
  std::vector<std::string> found;
  for (const auto& ava : normalizer.avas()) {
    found.push_back(std::string(written.substr(ava.begin, ava.equals - ava.begin)) + " " +
                    std::string(written.substr(ava.equals, ava.end - ava.equals)));
  }
  return found;
}

TEST(Light, AssertionsStandWhereTheySayBehindAValueOfAnotherSize) {
  const std::vector<std::string> shorter = {"CN =FI", "OU =AB", "L =C", "O =D"};
  EXPECT_EQ(assertionsOf("cn=\xEF\xAC\x81,ou=ab+l=c,o=d"), shorter);  // the ligature fi
  EXPECT_EQ(assertionsOf("CN = \xEF\xAC\x81 , OU = AB + L = C , O = D"), shorter);
  // The ligature ffi twice, in three bytes each, and one of three bytes that stands for four words.
  EXPECT_EQ(
      assertionsOf("ou=ab,cn=\xEF\xAC\x83\xEF\xAC\x83,o=\xEF\xB7\xBA,l=c"),
      (std::vector<std::string>{"OU =AB", "CN =FFIFFI",
                                "O =\xD8\xB5\xD9\x84\xD9\x89 \xD8\xA7\xD9\x84\xD9\x84\xD9\x87 "
                                "\xD8\xB9\xD9\x84\xD9\x8A\xD9\x87 \xD9\x88\xD8\xB3\xD9\x84\xD9\x85",
                                "L =C"}));
}

std::string deepDn(int rdns) {
  std::string dn = "o=x";
  for (int i = 1; i < rdns; ++i) {
    dn.insert(0, "a=b,");
  }
  return dn;
}

TEST(Limits, FourThousandAndNinetySixRdnsAreUsable) {
  DnNormalizer dn;
  ASSERT_TRUE(dn.normalize(deepDn(4096)));
  EXPECT_EQ(dn.rdnCount(), 4096);
}

TEST(Limits, OneRdnMoreIsNot) {
  EXPECT_EQ(normalForm(deepDn(4097)), std::nullopt);
  // Where the parser, not the scan, counts.
  EXPECT_EQ(normalForm(deepDn(4097) + " "), std::nullopt);
}

TEST(Limits, AMegabyteInFewRdnsWorks) {
  const std::string value(1 << 20, 'v');
  const std::string upper(1 << 20, 'V');
  EXPECT_EQ(normalForm("cn=" + value + ",o=x"), "CN=" + upper + ",O=X");
  EXPECT_EQ(normalForm("cn=\\" + value + ",o=x"), "CN=" + upper + ",O=X");
}

TEST(Limits, AMegabyteOfAssertionsInOneRdnWorks) {
  std::string dn;
  std::string normal;
  for (int i = 0; i < 200000; ++i) {
    dn += "b=1+";
    normal += "+B=1";
  }
  EXPECT_EQ(normalForm(dn + "a=1"), "A=1" + normal);
}

/// The texts that the sweeps below change byte by byte.
const std::vector<std::string> sweepTexts = {
    "cn=a\\,b + uid = \"c;\\\"d\" ; 1.2=#0aFF , oid.2.5=\\C3\\BC\xc3\xbc",
    "CN=A\\,B+UID=C,1.2=#0A,O=X Y"};

void expectIdempotent(const std::string& dn) {
  const auto once = normalForm(dn);
  if (once) {
    EXPECT_EQ(normalForm(*once), once) << ::testing::PrintToString(dn);
  }
}

TEST(Sweep, EveryPrefixIsRefusedOrNormalised) {
  for (const std::string& text : sweepTexts) {
    for (std::size_t length = 0; length <= text.size(); ++length) {
      expectIdempotent(text.substr(0, length));
    }
  }
}

TEST(Sweep, EveryByteAtEveryPlaceIsRefusedOrNormalised) {
  for (const std::string& text : sweepTexts) {
    for (std::size_t at = 0; at < text.size(); ++at) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string changed = text;
        changed[at] = static_cast<char>(byte);
        expectIdempotent(changed);
      }
    }
  }
}

// What the scan recognises, the parser has to see in the same way. Texts are drawn from the
// characters that matter to the two, and are long and short of the blocks that the scan looks at.
TEST(Scan, AgreesWithTheParser) {
  std::mt19937 random(7);
  const std::string alphabet = "AbO.=,+\\\"# ;<D2I\xc3*";
  int recognised = 0;
  for (int i = 0; i < 300000; ++i) {
    std::string dn = std::string(random() % 2 == 0 ? 0 : random() % 70, 'x') + "A=";
    const auto length = random() % 12;
    for (unsigned int k = 0; k < length; ++k) {
      dn += alphabet[random() % alphabet.size()];
    }
    dn += i % 2 == 0 ? "" : ",ou=People,dc=example,dc=org";
    dirclient::NormalFormScan scan(dn, nullptr);
    recognised += scan.run([](const NormalAva& /*ava*/) {}) ? 1 : 0;
    // Blanks around keep the scan from recognising it, and mean nothing.
    EXPECT_EQ(normalForm(dn), normalForm(" " + dn)) << dn;
  }
  EXPECT_GT(recognised, 10000);
}

// --- With a schema -----------------------------------------------------------------------------

/// A schema of one attribute type for each rule, by the names that the tests below use.
schema::Definitions definitionsOfEveryRule() {
  schema::SchemaProbe probe;
  probe.parse(R"(
attributetype ( 2.5.4.3 NAME ( 'cn' 'commonName' ) EQUALITY caseIgnoreMatch SYNTAX 1.9 )
attributetype ( 2.5.4.10 NAME ( 'organizationName' 'o' ) EQUALITY caseIgnoreMatch SYNTAX 1.9 )
attributetype ( 1.1.1 NAME 'exact' EQUALITY caseExactMatch SYNTAX 1.9 )
attributetype ( 1.1.2 NAME 'exactIA5' EQUALITY caseExactIA5Match SYNTAX 1.9 )
attributetype ( 1.1.3 NAME 'ia5' EQUALITY caseIgnoreIA5Match SYNTAX 1.9 )
attributetype ( 1.1.4 NAME 'list' EQUALITY caseIgnoreListMatch SYNTAX 1.9 )
attributetype ( 1.1.5 NAME 'name' EQUALITY distinguishedNameMatch SYNTAX 1.9 )
attributetype ( 1.1.6 NAME 'int' EQUALITY integerMatch SYNTAX 1.9 )
attributetype ( 1.1.7 NAME 'num' EQUALITY numericStringMatch SYNTAX 1.9 )
attributetype ( 1.1.8 NAME 'tel' EQUALITY telephoneNumberMatch SYNTAX 1.9 )
attributetype ( 1.1.9 NAME 'bool' EQUALITY booleanMatch SYNTAX 1.9 )
attributetype ( 1.1.10 NAME 'time' EQUALITY generalizedTimeMatch SYNTAX 1.9 )
attributetype ( 1.1.11 NAME 'oidValue' EQUALITY objectIdentifierMatch SYNTAX 1.9 )
attributetype ( 1.1.12 NAME 'octets' EQUALITY octetStringMatch SYNTAX 1.9 )
attributetype ( 1.1.13 NAME 'bits' EQUALITY bitStringMatch SYNTAX 1.9 )
attributetype ( 1.1.14 EQUALITY caseExactMatch SYNTAX 1.9 )
attributetype ( 1.1.15 NAME 'noRule' SYNTAX 1.9 )
attributetype ( 1.1.16 NAME ( 'street' 'avenue' ) EQUALITY caseIgnoreMatch SYNTAX 1.9 )
)");
  EXPECT_TRUE(probe.problems().empty());
  return probe.builder().complete();
}

const schema::Schema testSchema(definitionsOfEveryRule());

class SchemaRdn : public ::testing::TestWithParam<Row> {};

TEST_P(SchemaRdn, HasItsNormalForm) {
  EXPECT_EQ(normalForm(GetParam().written, &testSchema), GetParam().normal);
}

TEST_P(SchemaRdn, HasItAtEveryPlaceOfADn) {
  const Row& row = GetParam();
  EXPECT_EQ(normalForm(row.written + ",cn=b", &testSchema), row.normal + ",CN=B");
  EXPECT_EQ(normalForm("cn=b," + row.written, &testSchema), "CN=B," + row.normal);
}

TEST_P(SchemaRdn, NormalFormIsItsOwn) {
  EXPECT_EQ(normalForm(GetParam().normal, &testSchema), GetParam().normal);
}

INSTANTIATE_TEST_SUITE_P(
    Types, SchemaRdn,
    ::testing::Values(Row{"FirstName", "cn=jo", "CN=JO"}, Row{"Alias", "commonname=jo", "CN=JO"},
                      Row{"DottedNumber", "2.5.4.3=jo", "CN=JO"},
                      Row{"OidPrefixAndNumber", "oid.2.5.4.3=jo", "CN=JO"},
                      Row{"AliasInNormalCase", "O=X", "ORGANIZATIONNAME=X"},
                      Row{"AliasAsLongAsTheFirstName", "avenue=x", "STREET=X"},
                      Row{"AliasAsLongAsTheFirstNameInNormalCase", "AVENUE=X", "STREET=X"},
                      Row{"NumberOfATypeWithoutName", "1.1.14=Ab", "1.1.14=Ab"},
                      Row{"UnknownTypeAsWithoutSchema", "foo=Ab  c", "FOO=AB C"},
                      Row{"TypeWithoutRuleAsWithoutSchema", "norule=Ab  c", "NORULE=AB C"},
                      Row{"AliasesSortByTheirFirstName", "cn=z+o=a", "CN=Z+ORGANIZATIONNAME=A"},
                      Row{"BerValueStays", "cn=#0401ff", "CN=#0401FF"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Texts, SchemaRdn,
    ::testing::Values(Row{"ExactKeepsCase", "exact=Ab", "EXACT=Ab"},
                      Row{"ExactBlanksStillCompare", "exact= A\\20\\20b ", "EXACT=A b"},
                      Row{"ExactEscapes", "exact=a\\2Cb", "EXACT=a\\,b"},
                      Row{"ExactDecomposedMeetsComposed", "exact=u\xcc\x88", "EXACT=\xc3\xbc"},
                      Row{"ExactNotUtf8", "exact=a\xff", "EXACT=a\xff"},
                      Row{"ExactIa5KeepsCase", "exactia5=Ab", "EXACTIA5=Ab"},
                      Row{"IgnoreIa5", "ia5=Ab", "IA5=AB"},
                      Row{"ListLinesCompareEachByItself", "list= a  b $ c", "LIST=A B$C"},
                      Row{"ListKeepsEmptyLines", "list=a$$b$", "LIST=A$$B$"},
                      Row{"ListEncodedDollarIsNoSeparator", "list=a \\5c24 b", "LIST=A \\\\24 B"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Values, SchemaRdn,
    ::testing::Values(
        Row{"DnSpelling", "name=cn = a\\, o = b", "NAME=CN=A\\,ORGANIZATIONNAME=B"},
        Row{"DnExactInside", "name=exact=Ab", "NAME=EXACT=Ab"},
        Row{"DnEscapesInside", "name=cn=a\\\\\\,b", "NAME=CN=A\\\\\\,B"},
        Row{"DnEmpty", "name=", "NAME="}, Row{"DnThatIsNone", "name=a  b", "NAME=A B"},
        Row{"DnInDn", "name=name=commonname=x", "NAME=NAME=CN=X"},
        Row{"DnInThreeDns", "name=name=name=commonname=x", "NAME=NAME=NAME=CN=X"},
        // Each level escapes what the one inside has written: 1, 3, 7 backslashes.
        Row{"DnOfTwoRdnsInThreeDns", "name=name=name=commonname=a\\\\\\\\\\\\\\, o=b",
            "NAME=NAME=NAME=CN=A\\\\\\\\\\\\\\,ORGANIZATIONNAME=B"},
        Row{"DnInFourDnsIsAText", "name=name=name=name=commonname=x",
            "NAME=NAME=NAME=NAME=COMMONNAME=X"},
        Row{"IntegerZeros", "int=007", "INT=7"}, Row{"IntegerNegative", "int=-0042", "INT=-42"},
        Row{"IntegerMinusZero", "int=-00", "INT=0"}, Row{"IntegerZero", "int=0", "INT=0"},
        Row{"IntegerOfAnyLength", "int=000123456789012345678901234567890",
            "INT=123456789012345678901234567890"},
        Row{"IntegerThatIsNone", "int=1 a", "INT=1 A"}, Row{"IntegerMinusAlone", "int=-", "INT=-"},
        Row{"NumericString", "num=12 34  5", "NUM=12345"},
        Row{"Telephone", "tel=\\+49 (89) 12-34", "TEL=\\+49(89)1234"},
        Row{"TelephoneFoldsCase", "tel=1 ext 2", "TEL=1EXT2"},
        Row{"Boolean", "bool=true", "BOOL=TRUE"},
        Row{"ObjectIdentifierName", "oidvalue=CommonName", "OIDVALUE=2.5.4.3"},
        Row{"ObjectIdentifierNumber", "oidvalue=2.5.4.3", "OIDVALUE=2.5.4.3"},
        Row{"ObjectIdentifierUnknown", "oidvalue=someName", "OIDVALUE=SOMENAME"},
        Row{"OctetsByBytes", "octets=aB  c", "OCTETS=aB  c"},
        Row{"OctetsKeepBlanksAtTheEnds", "octets=\\20 a \\20", "OCTETS=\\20 a \\20"},
        Row{"OctetsControls", "octets=\\00\\FF", "OCTETS=\\00\xff"},
        Row{"BitsByBytes", "bits='0101'B", "BITS='0101'B"},
        Row{"TimeInUtc", "time=20060102030405Z", "TIME=20060102030405Z"},
        Row{"TimeElsewhere", "time=20060101230405-0400", "TIME=20060102030405Z"},
        Row{"IntegerBehindBlanks", "int=\\20007\\20", "INT=7"},
        Row{"IntegerInQuotesWithABlank", "int=\"007 \"", "INT=7"},
        Row{"IntegerWithAControl", "int=0\\0107", "INT=7"},
        // U+FF10 and U+FF17 are the digits 0 and 7 by NFKC.
        Row{"IntegerInWideDigits", "int=\xef\xbc\x90\xef\xbc\x97", "INT=7"},
        Row{"TimeInLowerCase", "time=200601020304z", "TIME=20060102030400Z"},
        Row{"TimeBehindABlank", "time=\\20200601020304Z", "TIME=20060102030400Z"},
        Row{"ObjectIdentifierBehindABlank", "oidvalue=\" cn\"", "OIDVALUE=2.5.4.3"},
        // U+FF04 is a dollar sign by NFKC.
        Row{"ListWithAWideDollar", "list=a\xef\xbc\x84 b  c", "LIST=A$B C"},
        Row{"ListThatIsNotUtf8", "list=a  b$\\FF", "LIST=A  B$\xff"},
        Row{"DnThatIsOneOncePrepared", "name=cn=a\\,\\09o=b", "NAME=CN=A\\,ORGANIZATIONNAME=B"},
        Row{"TimeThatIsNone", "time=2006 x", "TIME=2006 X"}),
    nameOf);

TEST(WithSchema, CaseExactValuesStayDistinct) {
  EXPECT_NE(normalForm("exact=a", &testSchema), normalForm("exact=A", &testSchema));
}

TEST(WithSchema, OctetStringsOfBlanksStayDistinct) {
  EXPECT_NE(normalForm("octets=\\20", &testSchema), normalForm("octets=\\20\\20", &testSchema));
  EXPECT_NE(normalForm("octets=\\20", &testSchema), normalForm("octets=", &testSchema));
}

// Values of every rule, valid and not, put together from what makes them so or almost so.
TEST(WithSchema, NormalFormsOfEveryRuleAreTheirOwnAndTheTwoRoadsAgree) {
  std::mt19937 random(3);
  const std::vector<std::string> types = {
      "cn",   "o",    "exact",    "ia5",    "list", "name", "int",    "num",       "tel",
      "bool", "time", "oidvalue", "octets", "bits", "foo",  "1.1.14", "commonName"};
  const std::vector<std::string> pieces = {"0",
                                           "07",
                                           "-",
                                           "12",
                                           "Z",
                                           "z",
                                           "2006010203",
                                           "\\20",
                                           "\\09",
                                           "\\01",
                                           "\\,",
                                           "\\+",
                                           "=",
                                           "cn=",
                                           "exact=",
                                           "$",
                                           " ",
                                           "  ",
                                           "a",
                                           "B",
                                           "cn",
                                           ".5",
                                           "+01",
                                           "#",
                                           "\xef\xbc\x90",
                                           "\xef\xbc\x84",
                                           "\xe2\x84\xaa",
                                           "\\FF",
                                           "\xcc\x88",
                                           "name="};
  int usable = 0;
  for (int i = 0; i < 60000; ++i) {
    std::string dn = types[random() % types.size()] + "=";
    for (auto count = random() % 6; count > 0; --count) {
      dn += pieces[random() % pieces.size()];
    }
    if (random() % 4 == 0) {
      dn += "," + types[random() % types.size()] + "=" + pieces[random() % pieces.size()];
    }
    const auto once = normalForm(dn, &testSchema);
    if (!once) {
      continue;
    }
    ++usable;
    EXPECT_EQ(normalForm(*once, &testSchema), once) << dn;
    // A blank in front keeps the scan from recognising the text, and means nothing.
    EXPECT_EQ(normalForm(" " + dn, &testSchema), once) << dn;
  }
  EXPECT_GT(usable, 30000);
}

// Each level of DNs in DNs doubles the escapes: without a bound, a short text grows beyond all
// memory, and a long one beyond the stack.
TEST(WithSchema, DnsInsideDnsAreBounded) {
  std::string dn = "cn=a\"b";
  for (int i = 0; i < 100000; ++i) {
    dn.insert(0, "name=");
  }
  const auto once = normalForm(dn, &testSchema);
  ASSERT_TRUE(once.has_value());
  EXPECT_LT(once->size(), 2 * dn.size());
  EXPECT_EQ(normalForm(*once, &testSchema), once);
}

/// A value written with every character escaped in one of three ways, at random.
std::string respelled(const std::string& value, std::mt19937& random) {
  std::string text;
  for (const char c : value) {
    const auto way = random() % 3;
    char hex[8];
    std::snprintf(hex, sizeof hex, "\\%02x",
                  static_cast<unsigned int>(static_cast<unsigned char>(c)));
    const bool needsEscape = std::string(",;+\"\\<># ").find(c) != std::string::npos;
    if (way == 0) {
      text += hex;
    } else if (needsEscape) {
      text += std::string("\\") + c;
    } else {
      text += c;
    }
  }
  return text;
}

// The same values in another order of assertions, with other aliases, escapes, blanks and, where
// the rule ignores it, case.
TEST(WithSchema, SpellingNeverChangesTheNormalForm) {
  std::mt19937 random(11);
  const std::string alphabet = "abcXYZ09 ,+=\"\\#;<>-\xc3\xa9";
  const auto value = [&] {
    std::string text;
    for (auto length = random() % 8; length > 0; --length) {
      text += alphabet[random() % (alphabet.size() - 2)];
    }
    return text + (random() % 4 == 0 ? "\xc3\xa9" : "");
  };
  const auto flipped = [&](std::string text) {
    for (char& c : text) {
      if (random() % 2 == 0 && c >= 'a' && c <= 'z') {
        c = static_cast<char>(c - 'a' + 'A');
      }
    }
    return text;
  };
  for (int i = 0; i < 20000; ++i) {
    const std::string cn = value();
    const std::string exact = value();
    const std::string octets = value();
    const std::string first = "cn=" + respelled(cn, random) + "+exact=" + respelled(exact, random) +
                              ",octets=" + respelled(octets, random);
    const std::string second = " oid.1.1.1 = " + respelled(exact, random) +
                               " + commonName=  " + respelled(flipped(cn), random) +
                               " ; 1.1.12 =" + respelled(octets, random) + " ";
    const auto normal = normalForm(first, &testSchema);
    ASSERT_TRUE(normal.has_value()) << first;
    EXPECT_EQ(normalForm(second, &testSchema), normal) << first << "\n" << second;
    EXPECT_EQ(normalForm(*normal, &testSchema), normal) << first;
  }
}

}  // namespace
