#include <gtest/gtest.h>

#include <cerrno>
#include <ostream>
#include <string>

#include "platform/dirclient/dirclient.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/HeapAllocations.h"
#include "testsupport/LoadedSchema.h"

namespace {

struct Row {
  const char* name;
  const char* one;
  const char* other;
  int same;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class SameDn : public ::testing::TestWithParam<Row> {};

TEST_P(SameDn, IsToldBothWays) {
  EXPECT_EQ(is_same_dn(GetParam().one, GetParam().other), GetParam().same);
  EXPECT_EQ(is_same_dn(GetParam().other, GetParam().one), GetParam().same);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SameDn,
    ::testing::Values(Row{"Text", "OU=B,O=X", "OU=B,O=X", 1},
                      Row{"CaseAndBlanks", "ou = b ; o = x", "OU=B,O=X", 1},
                      Row{"Escapes", "ou=\\62,o=x", "ou=\"b\",o=x", 1},
                      Row{"OrderOfValues", "ou=b+l=c,o=x", "l=c+ou=b,o=x", 1},
                      Row{"OtherValue", "ou=b,o=x", "ou=c,o=x", 0},
                      Row{"Parent", "ou=b,o=x", "o=x", 0},
                      Row{"OrderOfRdns", "ou=b,o=x", "o=x,ou=b", 0}, Row{"Empty", "", "", 0},
                      Row{"EmptyAndOne", "", "o=x", 0}, Row{"NoDn", "x", "x", 0},
                      Row{"NoDnAndOne", "x", "o=x", 0}, Row{"Null", nullptr, nullptr, 0},
                      Row{"NullAndOne", nullptr, "o=x", 0},
                      Row{"AliasesNeedASchema", "o=x", "organizationName=x", 0}),
    [](const auto& row) { return row.param.name; });

TEST(SameDnOf, LackOfMemoryIsNoAndIsTold) {
  const std::string dn = " CN=" + std::string(100000, 'A');
  errno = 0;
  exhaustMemory(true);
  const int same = is_same_dn(dn.c_str(), dn.c_str());
  const int error = errno;
  exhaustMemory(false);
  EXPECT_EQ(same, 0);
  EXPECT_EQ(error, ENOMEM);
  EXPECT_EQ(is_same_dn(dn.c_str(), dn.c_str()), 1);
}

TEST(SameDnBySchema, KnowsAliasesAndRules) {
  inFreshProcess([] {
    loadSchema(
        "attributetype ( 2.5.4.10 NAME ( 'o' 'organizationName' ) EQUALITY caseIgnoreMatch SYNTAX 1.9 )\n"
        "attributetype ( 1.1 NAME 'exact' EQUALITY caseExactMatch SYNTAX 1.9 )\n");
    EXPECT_EQ(is_same_dn_by_schema("o=x", "organizationName=X"), 1);
    EXPECT_EQ(is_same_dn_by_schema("exact=a", "exact=A"), 0);
    EXPECT_EQ(is_same_dn_by_schema("exact=a", "1.1=a"), 1);
    EXPECT_EQ(is_same_dn_by_schema("x", "x"), 0);
    EXPECT_EQ(is_same_dn("exact=a", "exact=A"), 1);
  });
}

}  // namespace
