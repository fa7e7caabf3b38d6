// How normalizeDn and getParent use the client library, which this program replaces by one that
// records its calls.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "actors/normalizeDn.h"
#include "platform/dirclient/dirclient.h"

namespace {

int debugLevel = 0;
int recordsAlive = 0;
bool failing = false;
std::vector<std::string> calls;

char* copyOf(const char* text) {
  return ::strdup(text);
}

/// A record of the RDNs X=1 and Y=2, or of the first alone for a text without a comma. Its
/// normalised text tells which routine made it.
ldap_escDN* makeRecord(const char* routine, const char* dn) {
  calls.push_back(std::string(routine) + "(" + dn + ") at level " + std::to_string(debugLevel));
  if (failing) {
    return nullptr;
  }
  auto* record = static_cast<ldap_escDN*>(std::calloc(1, sizeof(ldap_escDN)));
  record->normalizedText = copyOf(routine);
  record->rdnCount = std::strchr(dn, ',') != nullptr ? 2 : 1;
  ldap_escRDN** link = &record->firstRDN;
  for (int i = 0; i < record->rdnCount; ++i) {
    auto* rdn = static_cast<ldap_escRDN*>(std::calloc(1, sizeof(ldap_escRDN)));
    rdn->firstValue = static_cast<ldap_escAVA*>(std::calloc(1, sizeof(ldap_escAVA)));
    rdn->firstValue->type = copyOf(i == 0 ? "X" : "Y");
    rdn->firstValue->value = copyOf(i == 0 ? "1" : "2");
    *link = rdn;
    link = &rdn->next;
  }
  ++recordsAlive;
  return record;
}

}  // namespace

extern "C" {

ldap_escDN* dn_normalize_light_esc(const char* dn) {
  return makeRecord("light", dn);
}

ldap_escDN* dn_normalize_esc(const char* dn) {
  return makeRecord("by schema", dn);
}

void free_ldap_escDN(ldap_escDN** dn) {
  for (ldap_escRDN* rdn = (*dn)->firstRDN; rdn != nullptr;) {
    ldap_escRDN* next = rdn->next;
    std::free(rdn->firstValue->type);
    std::free(rdn->firstValue->value);
    std::free(rdn->firstValue);
    std::free(rdn);
    rdn = next;
  }
  std::free((*dn)->normalizedText);
  std::free(*dn);
  *dn = nullptr;
  --recordsAlive;
}

int read_ldap_debug() {
  return debugLevel;
}

void write_ldap_debug(int level) {
  debugLevel = level;
}

}  // extern "C"

namespace {

using Calls = std::vector<std::string>;

class NormalizeDnCalls : public ::testing::Test {
 protected:
  NormalizeDnCalls() {
    calls.clear();
    debugLevel = 15;
  }
  ~NormalizeDnCalls() override {
    EXPECT_EQ(recordsAlive, 0);
    EXPECT_EQ(debugLevel, 15);
    schemaInitialized = false;
    failing = false;
  }
};

TEST_F(NormalizeDnCalls, StartsWithoutSchema) {
  EXPECT_FALSE(schemaInitialized);
}

TEST_F(NormalizeDnCalls, NormalizeDnIsLightWithoutSchema) {
  std::string dn = "a=b";
  EXPECT_EQ(nLdifActor::normalizeDn(dn), "light");
  EXPECT_EQ(calls, Calls({"light(a=b) at level 0"}));
}

TEST_F(NormalizeDnCalls, NormalizeDnUsesTheSchema) {
  schemaInitialized = true;
  std::string dn = "a=b";
  EXPECT_EQ(nLdifActor::normalizeDn(dn), "by schema");
  EXPECT_EQ(calls, Calls({"by schema(a=b) at level 0"}));
}

TEST_F(NormalizeDnCalls, GetParentIsLightTwiceWithoutSchema) {
  const std::unique_ptr<std::string> parent(nLdifActor::getParent("a=b,c=d"));
  ASSERT_NE(parent, nullptr);
  EXPECT_EQ(*parent, "light");
  EXPECT_EQ(calls, Calls({"light(a=b,c=d) at level 0", "light(Y=2) at level 0"}));
}

TEST_F(NormalizeDnCalls, GetParentUsesTheSchemaTwice) {
  schemaInitialized = true;
  const std::unique_ptr<std::string> parent(nLdifActor::getParent("a=b,c=d"));
  ASSERT_NE(parent, nullptr);
  EXPECT_EQ(*parent, "by schema");
  EXPECT_EQ(calls, Calls({"by schema(a=b,c=d) at level 0", "by schema(Y=2) at level 0"}));
}

TEST_F(NormalizeDnCalls, GetParentReleasesTheRecordOfADnWithoutParent) {
  EXPECT_EQ(nLdifActor::getParent("a=b"), nullptr);
  EXPECT_EQ(calls, Calls({"light(a=b) at level 0"}));
}

TEST_F(NormalizeDnCalls, LevelIsRestoredWhenTheLibraryHasNoMemory) {
  failing = true;
  std::string dn = "a=b";
  EXPECT_THROW(nLdifActor::normalizeDn(dn), std::bad_alloc);
  EXPECT_THROW(nLdifActor::getParent(dn), std::bad_alloc);
  EXPECT_EQ(calls.size(), 2U);
}

}  // namespace
