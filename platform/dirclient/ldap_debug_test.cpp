#include "platform/dirclient/ldap_debug.h"

#include <gtest/gtest.h>

#include "platform/dirclient/dirclient.h"
#include "platform/trace/trace.h"
#include "testsupport/CapturedOutput.h"

namespace {

class DebugLevel : public ::testing::Test {
 protected:
  ~DebugLevel() override {
    write_ldap_debug(0);
    trcEvents = 0;
  }
};

TEST_F(DebugLevel, IsZeroAtStartAndKeepsWhatIsWritten) {
  EXPECT_EQ(read_ldap_debug(), 0);
  write_ldap_debug(6);
  EXPECT_EQ(read_ldap_debug(), 6);
}

TEST_F(DebugLevel, OneSwitchesTheToolsTracesOnAndNothingSwitchesThemOff) {
  write_ldap_debug(2);
  EXPECT_EQ(trcEvents, 0U);
  write_ldap_debug(1);
  EXPECT_EQ(trcEvents, 0x4000000U);
  write_ldap_debug(0);
  EXPECT_EQ(trcEvents, 0x4000000U);
}

TEST_F(DebugLevel, TwoTellsOfDnsThatCannotBeParsed) {
  write_ldap_debug(2);
  const CapturedOutput output = captured([] {
    ldap_escDN* bad = dn_normalize_light_esc("no dn\n");
    ldap_escDN* good = dn_normalize_light_esc("cn=a");
    free_ldap_escDN(&bad);
    free_ldap_escDN(&good);
  });
  EXPECT_EQ(output.err, "dirclient: not a usable DN: no dn\\0A\n");
}

TEST_F(DebugLevel, FourTellsOfHashDecisions) {
  write_ldap_debug(4);
  const CapturedOutput output = captured([] { get_hash_value_from_dn("cn=a,o=x", "o=x", 1); });
  EXPECT_EQ(output.err, "dirclient: server 1 of 1 by: CN=A\n");
}

TEST_F(DebugLevel, ZeroIsSilent) {
  const CapturedOutput output = captured([] {
    ldap_escDN* bad = dn_normalize_light_esc("no dn");
    get_hash_value_from_dn("cn=a,o=x", "o=x", 1);
    free_ldap_escDN(&bad);
  });
  EXPECT_EQ(output.err, "");
}

}  // namespace
