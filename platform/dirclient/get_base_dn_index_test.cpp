#include <gtest/gtest.h>

#include <cerrno>
#include <ostream>
#include <string>
#include <vector>

#include "platform/dirclient/dirclient.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/HeapAllocations.h"
#include "testsupport/LoadedSchema.h"

namespace {

using BaseDns = std::vector<const char*>;

int indexOf(const char* dn, const BaseDns& baseDns) {
  return get_base_dn_index(dn, baseDns.data(), static_cast<int>(baseDns.size()));
}

struct Row {
  const char* name;
  const char* dn;
  BaseDns baseDns;
  int index;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.dn;
}

class BaseDnIndex : public ::testing::TestWithParam<Row> {};

TEST_P(BaseDnIndex, IsThatOfTheInnermost) {
  EXPECT_EQ(indexOf(GetParam().dn, GetParam().baseDns), GetParam().index);
}

// A text of the list is compared as it stands, and only then normalised: a spelling that is no
// normal form has to give the same answer.
TEST_P(BaseDnIndex, IsTheSameForOtherSpellings) {
  std::vector<std::string> spelt;
  for (const char* baseDn : GetParam().baseDns) {
    spelt.push_back(baseDn == nullptr ? "" : "  " + std::string(baseDn) + " ");
  }
  BaseDns baseDns;
  for (const std::string& baseDn : spelt) {
    baseDns.push_back(baseDn.c_str());
  }
  EXPECT_EQ(indexOf(GetParam().dn, baseDns), GetParam().index);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BaseDnIndex,
    ::testing::Values(
        Row{"Below", "cn=a,o=x", {"o=y", "o=x"}, 1}, Row{"FarBelow", "cn=a,ou=b,o=x", {"o=x"}, 0},
        Row{"At", "o=x", {"o=x"}, 0}, Row{"Above", "o=x", {"ou=b,o=x"}, -1},
        Row{"Beside", "cn=a,o=z", {"o=y", "o=x"}, -1},
        Row{"InnerListedLast", "cn=a,ou=b,o=x", {"o=x", "ou=b,o=x"}, 1},
        Row{"InnerListedFirst", "cn=a,ou=b,o=x", {"ou=b,o=x", "o=x"}, 0},
        Row{"AtTheInner", "ou=b,o=x", {"o=x", "ou=b,o=x"}, 1},
        Row{"BesideTheInner", "cn=a,ou=c,o=x", {"ou=b,o=x", "o=x"}, 1},
        Row{"TwiceIsTheFirst", "cn=a,o=x", {"o=y", "O = X", "o=x"}, 1},
        Row{"SpellingOfTheName", " CN = A ; O=\"x\" ", {"o=x"}, 0},
        Row{"EscapesInTheBase", "cn=a,o=b\\,c", {"o=\"b,c\""}, 0},
        Row{"SeveralValuesInAnyOrder", "cn=a,ou=b+l=c,o=x", {"l=c+ou=b,o=x"}, 0},
        Row{"OneOfSeveralValuesIsNoBase", "cn=a,ou=b+l=c,o=x", {"ou=b,o=x", "l=c,o=x"}, -1},
        Row{"EscapedCommaIsNoSeparator", "cn=a\\,o=x", {"o=x"}, -1},
        Row{"NameThatEndsInTheText", "cn=ao=x", {"o=x"}, -1}, Row{"EmptyName", "", {"o=x", ""}, -1},
        Row{"NoName", "no dn", {"o=x", "no dn"}, -1}, Row{"NullName", nullptr, {"o=x"}, -1},
        Row{"BadBasesAreAboveNothing", "cn=a,o=x", {"", nullptr, "x", "o=x"}, 3},
        Row{"CountryOfUtf8", "cn=a,o=M\xc3\xbcller", {"o=mu\xcc\x88ller"}, 0}),
    [](const auto& row) { return row.param.name; });

TEST(BaseDnIndexOf, NoBaseDns) {
  EXPECT_EQ(get_base_dn_index("o=x", nullptr, 0), -1);
  const char* const one = "o=x";
  EXPECT_EQ(get_base_dn_index("o=x", &one, 0), -1);
  EXPECT_EQ(get_base_dn_index("o=x", &one, -1), -1);
}

TEST(BaseDnIndexOf, LooksAtNoMoreThanItsCount) {
  const char* const baseDns[] = {"o=y", "o=x"};
  EXPECT_EQ(get_base_dn_index("o=x", baseDns, 1), -1);
}

TEST(BaseDnIndexOf, NormalFormsCostNoMemory) {
  const char* const baseDns[] = {"O=Y", "OU=B,O=X", "O=X"};
  const long before = heapAllocations();
  EXPECT_EQ(get_base_dn_index("CN=A,OU=B,O=X", baseDns, 3), 1);
  EXPECT_EQ(heapAllocations(), before);
}

TEST(BaseDnIndexOf, LackOfMemoryIsTold) {
  const std::string dn = " CN=" + std::string(100000, 'A') + ",O=X";
  const char* const baseDn = "o=x";
  errno = 0;
  exhaustMemory(true);
  const int index = get_base_dn_index(dn.c_str(), &baseDn, 1);
  const int error = errno;
  exhaustMemory(false);
  EXPECT_EQ(index, -2);
  EXPECT_EQ(error, ENOMEM);
}

TEST(BaseDnIndexBySchema, IsThatWithoutOneWhileNoneIsLoaded) {
  inFreshProcess([] {
    const char* const baseDns[] = {"organizationName=x", "O = X"};
    EXPECT_EQ(get_base_dn_index_by_schema("cn=a,o=x", baseDns, 2), 1);
    EXPECT_EQ(get_base_dn_index_by_schema("cn=a,o=y", baseDns, 2), -1);
  });
}

TEST(BaseDnIndexBySchema, KnowsAliasesNumbersAndRules) {
  inFreshProcess([] {
    loadSchema(
        "attributetype ( 2.5.4.10 NAME ( 'o' 'organizationName' ) EQUALITY caseIgnoreMatch SYNTAX 1.9 )\n"
        "attributetype ( 1.1 NAME 'exact' EQUALITY caseExactMatch SYNTAX 1.9 )\n");
    const char* const baseDns[] = {"organizationName=x", "exact=A,o=x", "exact=a,2.5.4.10=X"};
    EXPECT_EQ(get_base_dn_index_by_schema("cn=a,o=X", baseDns, 3), 0);
    EXPECT_EQ(get_base_dn_index_by_schema("cn=a,exact=A,o=x", baseDns, 3), 1);
    EXPECT_EQ(get_base_dn_index_by_schema("cn=a,exact=a,o=x", baseDns, 3), 2);
    EXPECT_EQ(get_base_dn_index_by_schema("cn=a,exact=b,2.5.4.10=x", baseDns, 3), 0);
    EXPECT_EQ(get_base_dn_index("cn=a,o=x", baseDns, 3), -1);
  });
}

}  // namespace
