#include "platform/ldif/hasAttributeType.h"

#include <gtest/gtest.h>

#include <string>

namespace {

bool has(const std::string& line, const char* type) {
  return hasAttributeType(line.data(), line.size(), type);
}

TEST(HasAttributeType, IgnoresCaseAndBlanksBeforeTheColon) {
  for (const char* line :
       {"dn: o=x\n", "DN: o=x\n", "Dn:", "dN  : o=x", "dn:: bz14", "DN:<x", "dN", "DN "}) {
    EXPECT_TRUE(has(line, "dn")) << line;
  }
}

TEST(HasAttributeType, IsNoPartOfAnotherAndHasNoOptions) {
  for (const char* line :
       {"", "d", "dnx", "dnx: x", "xdn: x", " dn: x", "dn;x: x", "d n: x", "dn\t: x", "dm: x"}) {
    EXPECT_FALSE(has(line, "dn")) << line;
  }
}

TEST(HasAttributeType, ReadsNothingBehindTheLine) {
  EXPECT_TRUE(hasAttributeType("dnx: x", 2, "dn"));
  EXPECT_FALSE(hasAttributeType("dn: x", 1, "dn"));
}

}  // namespace
