#include "platform/dirclient/NormalDn.h"

#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "platform/dirclient/dirclient.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/LoadedSchema.h"

namespace {

using dirclient::NormalDn;

NormalDn normalDn(const std::string& dn, bool bySchema = false) {
  NormalDn normal;
  normal.normalize(dn.data(), dn.size(), bySchema);
  return normal;
}

struct Row {
  const char* name;
  std::string written;
  std::string normal;
  std::vector<std::size_t> rdnBegins;
  std::size_t lastRdnOfSeveralValues;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class NormalDnOf : public ::testing::TestWithParam<Row> {};

TEST_P(NormalDnOf, KnowsItsTextAndItsRdns) {
  const Row& row = GetParam();
  for (const std::string& written : {row.written, row.normal}) {
    const NormalDn dn = normalDn(written);
    EXPECT_EQ(dn.text(), row.normal);
    EXPECT_EQ(dn.empty(), row.normal.empty());
    ASSERT_EQ(dn.rdnCount(), row.rdnBegins.size());
    for (std::size_t i = 0; i < row.rdnBegins.size(); ++i) {
      EXPECT_EQ(dn.rdnBegin(i), row.rdnBegins[i]);
    }
    EXPECT_EQ(dn.lastRdnOfSeveralValues(), row.lastRdnOfSeveralValues);
    EXPECT_TRUE(dn.isLight());
  }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, NormalDnOf,
    ::testing::Values(
        Row{"Nothing", "", "", {}, 0}, Row{"NoDn", "no dn", "", {}, 0},
        Row{"OneRdn", "o=c", "O=C", {0}, 0},
        Row{"ThreeRdns", "cn=a,ou=b,o=c", "CN=A,OU=B,O=C", {0, 5, 10}, 0},
        Row{"Blanks", " cn = a , ou=b ; o=c ", "CN=A,OU=B,O=C", {0, 5, 10}, 0},
        Row{"EscapedComma", "cn=a\\,b,o=c", "CN=A\\,B,O=C", {0, 8}, 0},
        Row{"EscapedBackslash", "cn=a\\\\,o=c", "CN=A\\\\,O=C", {0, 7}, 0},
        Row{"EscapedPlusIsOneValue", "cn=x,ou=r\\+d,o=c", "CN=X,OU=R\\+D,O=C", {0, 5, 13}, 0},
        Row{"PlusInQuotesIsOneValue", "cn=x,ou=\"r+d\",o=c", "CN=X,OU=R\\+D,O=C", {0, 5, 13}, 0},
        Row{"FirstRdnOfSeveralValues", "cn=a+sn=b,o=c", "CN=A+SN=B,O=C", {0, 10}, 0},
        Row{"SecondRdnOfSeveralValues", "cn=x,ou=a+l=b,o=c", "CN=X,L=B+OU=A,O=C", {0, 5, 14}, 1},
        Row{"LastRdnOfSeveralValues", "cn=x,ou=y,o=a+l=b", "CN=X,OU=Y,L=B+O=A", {0, 5, 10}, 2},
        Row{"TwoRdnsOfSeveralValues", "c=1+a=2,c=3+a=4,o=c", "A=2+C=1,A=4+C=3,O=C", {0, 8, 16}, 1},
        Row{"Utf8", "cn=\xc3\xa9,o=c", "CN=\xc3\x89,O=C", {0, 6}, 0},
        Row{"Utf8ThatGetsShorter", "cn=\xEF\xAC\x81,ou=ab,o=c", "CN=FI,OU=AB,O=C", {0, 6, 12}, 0},
        Row{"Utf8AndSeveralValues",
            "ou=x,sn=\xc3\xa9+cn=b,o=c",
            "OU=X,CN=B+SN=\xc3\x89,O=C",
            {0, 5, 16},
            1}),
    [](const auto& row) { return row.param.name; });

TEST(NormalDn, ForgetsTheDnBefore) {
  NormalDn dn;
  const std::string first = "cn=x,ou=a+l=b,o=a rather long value that takes memory";
  const std::string second = "o=c";
  dn.normalize(first.data(), first.size(), false);
  dn.normalize(second.data(), second.size(), false);
  EXPECT_EQ(dn.text(), "O=C");
  EXPECT_EQ(dn.rdnCount(), 1U);
  EXPECT_EQ(dn.lastRdnOfSeveralValues(), 0U);
  dn.normalize("x", 1, false);
  EXPECT_TRUE(dn.empty());
  EXPECT_EQ(dn.rdnCount(), 0U);
}

/// It is mapped to nothing like the other control characters (RFC 4518, section 2.2), and what
/// follows it counts.
TEST(NormalDn, DoesNotEndAtANul) {
  EXPECT_EQ(normalDn(std::string("cn=a\0b", 6)).text(), "CN=AB");
}

/// DNs below a base DN, at it, above it and elsewhere, in all ways to write them.
std::string randomDn(std::mt19937& random) {
  const auto oneOf = [&](const std::vector<std::string>& texts) {
    return texts[random() % texts.size()];
  };
  std::string dn =
      oneOf({"cn=a", "CN=B+sn=c", "sn=c+cn=b", "cn=\xc3\xa9", "cn=x\\,o=b", "exact=aB"});
  dn += std::to_string(random() % 100);
  for (auto rdns = random() % 3; rdns > 0; --rdns) {
    dn += oneOf({",ou=x", ", OU=Y", ",ou=a+l=b", ",exact=Ab", ",commonName=z"});
  }
  return dn + oneOf({",o=b", ",O=B", ",o=c", "", ",exact=B,o=b"});
}

void expectTheServersOfTheCInterface(bool bySchema) {
  std::mt19937 random(4514);
  int below = 0;
  for (int i = 0; i < 20000; ++i) {
    const NormalDn dn = normalDn(randomDn(random), bySchema);
    for (const char* base : {"o=b", "exact=B,o=b", "ou=a+l=b,o=b", ""}) {
      const NormalDn baseDn = normalDn(base, bySchema);
      ASSERT_EQ(dirclient::serverOf(dn, baseDn, 7),
                get_hash_value_from_dn(dn.text().c_str(), baseDn.text().c_str(), 7))
          << dn.text() << " below " << baseDn.text();
      below += !baseDn.empty() && dn.text().size() > baseDn.text().size() &&
                       dn.text().compare(dn.text().size() - baseDn.text().size(), std::string::npos,
                                         baseDn.text()) == 0
                   ? 1
                   : 0;
    }
  }
  EXPECT_GT(below, 5000);
}

TEST(ServerOf, IsThatOfTheTexts) {
  expectTheServersOfTheCInterface(false);
}

/// Values whose case counts are in upper case for the hash, and another name of a type counts as
/// another type there.
TEST(ServerOf, IsThatOfTheTextsBySchema) {
  inFreshProcess([] {
    loadSchema(
        "attributetype ( 1.1 NAME 'exact' EQUALITY caseExactMatch "
        "SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 )\n"
        "attributetype ( 2.5.4.3 NAME ( 'cn' 'commonName' ) EQUALITY caseIgnoreMatch "
        "SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 )\n");
    EXPECT_EQ(normalDn("exact=aB,o=c", true).text(), "EXACT=aB,O=C");
    EXPECT_FALSE(normalDn("exact=aB,o=c", true).isLight());
    EXPECT_TRUE(normalDn("cn=aB,o=c", true).isLight());
    expectTheServersOfTheCInterface(true);
  });
}

TEST(ServerOf, WithoutServersThereIsNone) {
  EXPECT_EQ(dirclient::serverOf(normalDn("cn=a,o=b"), normalDn("o=b"), 0), 0);
  EXPECT_EQ(dirclient::serverOf(normalDn("cn=a,o=b"), normalDn("o=b"), -1), 0);
}

}  // namespace
