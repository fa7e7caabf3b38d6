#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "platform/dirclient/dirclient.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/HeapAllocations.h"
#include "testsupport/LoadedSchema.h"

namespace {

using Parts = std::vector<std::vector<std::pair<std::string, std::string>>>;

Parts partsOf(const ldap_escDN& dn) {
  Parts parts;
  for (const ldap_escRDN* rdn = dn.firstRDN; rdn != nullptr; rdn = rdn->next) {
    parts.emplace_back();
    for (const ldap_escAVA* ava = rdn->firstValue; ava != nullptr; ava = ava->next) {
      parts.back().emplace_back(ava->type, ava->value);
    }
  }
  return parts;
}

TEST(Record, HoldsRdnsFromLeftToRight) {
  ldap_escDN* dn = dn_normalize_light_esc("CN=A B,OU=X\\,Y,O=Z");
  EXPECT_STREQ(dn->normalizedText, "CN=A B,OU=X\\,Y,O=Z");
  EXPECT_EQ(dn->rdnCount, 3);
  EXPECT_EQ(partsOf(*dn), (Parts{{{"CN", "A B"}}, {{"OU", "X\\,Y"}}, {{"O", "Z"}}}));
  free_ldap_escDN(&dn);
  EXPECT_EQ(dn, nullptr);
}

TEST(Record, HoldsTheAssertionsOfAnRdnAsWritten) {
  ldap_escDN* dn = dn_normalize_light_esc("ou=a + l=b, o=c");
  EXPECT_STREQ(dn->normalizedText, "L=B+OU=A,O=C");
  EXPECT_EQ(dn->rdnCount, 2);
  EXPECT_EQ(partsOf(*dn), (Parts{{{"OU", "A"}, {"L", "B"}}, {{"O", "C"}}}));
  free_ldap_escDN(&dn);
}

TEST(Record, HoldsEmptyValues) {
  ldap_escDN* dn = dn_normalize_light_esc("cn=,o=");
  EXPECT_EQ(partsOf(*dn), (Parts{{{"CN", ""}}, {{"O", ""}}}));
  free_ldap_escDN(&dn);
}

TEST(Record, IsEmptyForWhatIsNoUsableDn) {
  for (const char* text : {"", "  ", "abc", "cn=a,", "cn=a\\"}) {
    ldap_escDN* dn = dn_normalize_light_esc(text);
    ASSERT_NE(dn, nullptr);
    EXPECT_STREQ(dn->normalizedText, "") << text;
    EXPECT_EQ(dn->rdnCount, 0) << text;
    EXPECT_EQ(dn->firstRDN, nullptr) << text;
    free_ldap_escDN(&dn);
  }
}

TEST(Record, IsReturnedForNull) {
  for (ldap_escDN* dn : {dn_normalize_light_esc(nullptr), dn_normalize_esc(nullptr)}) {
    ASSERT_NE(dn, nullptr);
    EXPECT_STREQ(dn->normalizedText, "");
    EXPECT_EQ(dn->rdnCount, 0);
    free_ldap_escDN(&dn);
  }
}

TEST(Record, IsMissingWhereMemoryRanOut) {
  const std::string text = " CN=" + std::string(100000, 'A');
  for (const auto normalize : {dn_normalize_light_esc, dn_normalize_esc}) {
    errno = 0;
    exhaustMemory(true);
    ldap_escDN* dn = normalize(text.c_str());
    const int error = errno;
    exhaustMemory(false);
    EXPECT_EQ(dn, nullptr);
    EXPECT_EQ(error, ENOMEM);
    free_ldap_escDN(&dn);
  }
}

TEST(Record, FreeingNothingIsAllowed) {
  ldap_escDN* none = nullptr;
  free_ldap_escDN(&none);
  free_ldap_escDN(nullptr);
}

TEST(Record, WithoutASchemaTheSchemaAwareFormIsTheLightOne) {
  ldap_escDN* dn = dn_normalize_esc("cn = Local  Host");
  EXPECT_STREQ(dn->normalizedText, "CN=LOCAL HOST");
  free_ldap_escDN(&dn);
}

/// What debug level 8 prints while the schema, which knows "cn" alone, is in use.
void expectSchemaLines(ldap_escDN* (*normalize)(const char*), const char* text,
                       const std::string& lines) {
  inFreshProcess([&] {
    loadSchema(
        "attributetype ( 2.5.4.3 NAME ( 'cn' 'commonName' ) EQUALITY caseIgnoreMatch"
        " SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 )\n");
    write_ldap_debug(8);
    ldap_escDN* dn = nullptr;
    const CapturedOutput output = captured([&] { dn = normalize(text); });
    EXPECT_EQ(output.err, lines) << text;
    EXPECT_EQ(output.out, "") << text;
    free_ldap_escDN(&dn);
  });
}

TEST(SchemaLines, NameTheTypesThatTheSchemaDoesNotKnow) {
  expectSchemaLines(dn_normalize_esc, "foo=a,cn=b+bar=c,o=d",
                    "dirclient: not in the schema: FOO\n"
                    "dirclient: not in the schema: BAR\n"
                    "dirclient: not in the schema: O\n");
}

TEST(SchemaLines, NameNoTypeThatTheSchemaKnows) {
  expectSchemaLines(dn_normalize_esc, "cn=a,commonname=b,2.5.4.3=c", "");
}

TEST(SchemaLines, NameNothingOfWhatIsNoDn) {
  expectSchemaLines(dn_normalize_esc, "foo=a,no dn", "");
}

TEST(SchemaLines, NameNothingWhereTheSchemaIsNotAsked) {
  expectSchemaLines(dn_normalize_light_esc, "foo=a", "");
}

}  // namespace
