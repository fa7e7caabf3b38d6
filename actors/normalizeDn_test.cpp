#include "actors/normalizeDn.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>

#include "platform/dirclient/dirclient.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/LoadedSchema.h"

namespace {

const char* const noParent = "(no parent)";

std::string normalized(std::string dn) {
  return nLdifActor::normalizeDn(dn);
}

std::string parentOf(const std::string& dn) {
  const std::unique_ptr<std::string> parent(nLdifActor::getParent(dn));
  return parent != nullptr ? *parent : noParent;
}

TEST(RdnSeparators, AreThoseOfADn) {
  EXPECT_STREQ(rdnSeparator, ",");
  EXPECT_STREQ(rdnAttrSeparator, "=");
}

TEST(NormalizeDn, ChangesItsArgumentAndReturnsIt) {
  std::string dn = "cn = a, o=b";
  const std::string& result = nLdifActor::normalizeDn(dn);
  EXPECT_EQ(&result, &dn);
  EXPECT_EQ(dn, "CN=A,O=B");
}

TEST(NormalizeDn, ReplacesALongerTextWhole) {
  EXPECT_EQ(normalized("   cn   =   a   "), "CN=A");
}

TEST(NormalizeDn, NoUsableDnBecomesEmpty) {
  for (const char* dn : {"", " ", "cn", "=a", "cn=a,", ",cn=a", "cn=\"a", "cn=a,,o=b"}) {
    EXPECT_EQ(normalized(dn), "") << dn;
  }
}

TEST(NormalizeDn, EndsAtTheFirstNul) {
  EXPECT_EQ(normalized(std::string("cn=a\0,o=b", 9)), "CN=A");
}

struct ParentRow {
  const char* name;
  const char* dn;
  const char* parent;
};

void PrintTo(const ParentRow& row, std::ostream* out) {
  *out << row.name;
}

class Parent : public ::testing::TestWithParam<ParentRow> {
 protected:
  ~Parent() override { schemaInitialized = false; }
};

TEST_P(Parent, IsTheNormalFormOfTheRest) {
  EXPECT_EQ(parentOf(GetParam().dn), GetParam().parent);
}

// No schema file is loaded here, so that every attribute is one that the schema does not know.
TEST_P(Parent, IsTheSameByAnEmptySchema) {
  schemaInitialized = true;
  EXPECT_EQ(parentOf(GetParam().dn), GetParam().parent);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Parent,
    ::testing::Values(
        ParentRow{"OfThree", "cn=a,ou=b,o=c", "OU=B,O=C"}, ParentRow{"OfTwo", "ou=b,o=c", "O=C"},
        ParentRow{"OfOne", "o=c", noParent}, ParentRow{"OfTheEmptyDn", "", noParent},
        ParentRow{"OfNoDn", "no dn", noParent},
        ParentRow{"OfABrokenDnOfTwo", "cn=a,o=c,", noParent},
        ParentRow{"SpellingIsNormalised", "CN = x ; ou =  B  b ;o=c", "OU=B B,O=C"},
        ParentRow{"EscapedCommaSplitsNothing", "cn=a\\,b,o=c", "O=C"},
        ParentRow{"EscapedCommaInTheParent", "cn=a,ou=x\\,y,o=c", "OU=X\\,Y,O=C"},
        ParentRow{"HexEscapeInTheParent", "cn=a,ou=x\\2Cy,o=c", "OU=X\\,Y,O=C"},
        ParentRow{"QuotedValueInTheParent", "cn=a,ou=\"x,y\",o=c", "OU=X\\,Y,O=C"},
        ParentRow{"EscapedBackslashBeforeTheComma", "cn=a\\\\,o=c", "O=C"},
        ParentRow{"EmptyValues", "cn=,ou=,o=c", "OU=,O=C"},
        // The parts of an RDN are joined with nothing between them, in the order they are written.
        ParentRow{"MultiValuedInTheMiddle", "cn=x,ou=a+l=b,o=c", "OU=AL=B,O=C"},
        ParentRow{"MultiValuedInTheOrderWritten", "cn=x,l=b+ou=a,o=c", "L=BOU=A,O=C"},
        ParentRow{"MultiValuedOfThree", "cn=x,ou=a+l=b+st=d", "OU=AL=BST=D"},
        ParentRow{"MultiValuedAtTheFront", "cn=x+sn=y,o=c", "O=C"},
        ParentRow{"MultiValuedAlone", "cn=x+sn=y", noParent},
        // The '#' of a BER value needs an even number of hex digits behind it, and nothing else.
        ParentRow{"MultiValuedBer", "cn=x,ou=#04+l=b,o=c", "OU=\\#04L=B,O=C"}),
    [](const ::testing::TestParamInfo<ParentRow>& row) { return row.param.name; });

TEST(GetParent, IsByTheLoadedSchemaOnceThatIsInitialized) {
  inFreshProcess([] {
    loadSchema(
        "attributetype ( 2.5.4.10 NAME ( 'organizationName' 'o' ) EQUALITY caseExactMatch\n"
        " SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 )\n");
    EXPECT_EQ(normalized("o=Ab"), "O=AB");
    EXPECT_EQ(parentOf("cn=x,o=Ab"), "O=AB");
    schemaInitialized = true;
    EXPECT_EQ(normalized("o=Ab"), "ORGANIZATIONNAME=Ab");
    EXPECT_EQ(parentOf("cn=x,o=Ab"), "ORGANIZATIONNAME=Ab");
    EXPECT_EQ(parentOf("cn=x,O=AB"), "ORGANIZATIONNAME=AB");
  });
}

TEST(GetParent, LeavesItsArgumentAlone) {
  const std::string dn = "cn=a , o=b";
  parentOf(dn);
  EXPECT_EQ(dn, "cn=a , o=b");
}

TEST(GetParent, RepeatedCallsReachTheTop) {
  std::string dn = "cn=a,ou=b,ou=c,o=d";
  for (const char* expected : {"OU=B,OU=C,O=D", "OU=C,O=D", "O=D", noParent}) {
    dn = parentOf(dn);
    EXPECT_EQ(dn, expected);
  }
}

constexpr int unparsedDns = 2;

class DebugLevel : public ::testing::Test {
 protected:
  DebugLevel() { write_ldap_debug(unparsedDns); }
  ~DebugLevel() override { write_ldap_debug(0); }
};

TEST_F(DebugLevel, LibraryWouldTellOfAnUnusableDn) {
  const CapturedOutput output = captured([] {
    ldap_escDN* record = dn_normalize_light_esc("no dn");
    free_ldap_escDN(&record);
  });
  EXPECT_NE(output.err, "");
}

TEST_F(DebugLevel, LibraryIsSilentDuringNormalizeDn) {
  const CapturedOutput output = captured([] { EXPECT_EQ(normalized("no dn"), ""); });
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(read_ldap_debug(), unparsedDns);
}

TEST_F(DebugLevel, LibraryIsSilentDuringGetParent) {
  const CapturedOutput output = captured([] {
    EXPECT_EQ(parentOf("no dn"), noParent);
    EXPECT_EQ(parentOf("cn=a,o=b"), "O=B");
  });
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(read_ldap_debug(), unparsedDns);
}

}  // namespace
