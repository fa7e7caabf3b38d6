#include "driver/traceConfig.h"

#include <gtest/gtest.h>

#include "testsupport/CapturedOutput.h"
#include "testsupport/TracesOn.h"

namespace {

VarnelConfig configured() {
  VarnelConfig config("unread", false);
  config.baseDNSections_["O=B"] = {
      {{"url", "ldap://b1"}, {"file", "b1.ldif"}},
      {{"url", "ldap://b2"}, {"file", "b2.ldif"}},
      {{"", ""}, {"", ""}},
  };
  config.baseDNSections_["O=A"] = {{}};
  return config;
}

TEST(TraceConfig, TracesEverySectionWithItsSpareRecord) {
  const VarnelConfig config = configured();
  const TracesOn traces;
  EXPECT_EQ(captured([&] { traceConfig(config); }).err,
            "c8010000 Base DN: O=A\n"
            "c8010000 -------\n"
            "c8010000 Base DN: O=B\n"
            "c8010000 url : ldap://b1\n"
            "c8010000 file : b1.ldif\n"
            "c8010000 url : ldap://b2\n"
            "c8010000 file : b2.ldif\n"
            "c8010000  : \n"
            "c8010000  : \n"
            "c8010000 -------\n");
}

TEST(TraceConfig, WithoutSectionsThereIsNothingToTrace) {
  const VarnelConfig config("unread", false);
  const TracesOn traces;
  EXPECT_EQ(captured([&] { traceConfig(config); }).err, "");
}

TEST(TraceConfig, TracesNothingWhenTracesAreOff) {
  const VarnelConfig config = configured();
  const CapturedOutput output = captured([&] { traceConfig(config); });
  EXPECT_EQ(output.out + output.err, "");
}

}  // namespace
