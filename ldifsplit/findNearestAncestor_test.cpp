#include "ldifsplit/findNearestAncestor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

namespace {

using ldifsplit::BaseDnIndex;
using ldifsplit::findNearestAncestor;
using Names = std::vector<std::string>;

struct NearestRow {
  const char* name;
  const char* dn;  // in normal form
  Names baseDNs;
  const char* nearest;
};

void PrintTo(const NearestRow& row, std::ostream* out) {
  *out << row.name;
}

class NearestAncestor : public ::testing::TestWithParam<NearestRow> {};

TEST_P(NearestAncestor, OfATextInWhateverOrderTheBaseDnsStand) {
  Names baseDNs = GetParam().baseDNs;
  std::sort(baseDNs.begin(), baseDNs.end());
  do {
    EXPECT_EQ(findNearestAncestor(GetParam().dn, baseDNs), GetParam().nearest);
  } while (std::next_permutation(baseDNs.begin(), baseDNs.end()));
}

TEST_P(NearestAncestor, OfANormalDnIsItsIndexInTheList) {
  const std::string dn = GetParam().dn;
  dirclient::NormalDn name;
  name.normalize(dn.data(), dn.size(), false);
  ASSERT_EQ(name.text(), dn);
  const Names& baseDNs = GetParam().baseDNs;
  const std::size_t nearest = findNearestAncestor(name, BaseDnIndex(baseDNs));
  const auto expected = std::find(baseDNs.begin(), baseDNs.end(), GetParam().nearest);
  EXPECT_EQ(nearest == BaseDnIndex::none ? "" : baseDNs[nearest], GetParam().nearest);
  EXPECT_EQ(nearest == BaseDnIndex::none, expected == baseDNs.end());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, NearestAncestor,
    ::testing::Values(
        NearestRow{"Equal", "O=X", {"O=X", "O=Y"}, "O=X"},
        NearestRow{"Parent", "CN=A,O=X", {"O=X", "O=Y"}, "O=X"},
        NearestRow{"FarAbove", "CN=A,OU=B,OU=C,OU=D,O=X", {"O=X"}, "O=X"},
        NearestRow{"NestedBelowTheInner", "CN=A,OU=B,O=X", {"O=X", "OU=B,O=X"}, "OU=B,O=X"},
        NearestRow{"NestedAtTheInner", "OU=B,O=X", {"O=X", "OU=B,O=X"}, "OU=B,O=X"},
        NearestRow{"NestedBetween", "OU=C,O=X", {"O=X", "OU=B,O=X"}, "O=X"},
        NearestRow{"NestedThreeDeep",
                   "CN=A,OU=C,OU=B,O=X",
                   {"O=X", "OU=B,O=X", "OU=C,OU=B,O=X"},
                   "OU=C,OU=B,O=X"},
        NearestRow{"AboveTheBaseDn", "O=X", {"OU=B,O=X"}, ""},
        NearestRow{"Elsewhere", "CN=A,O=Z", {"O=X", "O=Y"}, ""},
        NearestRow{"NoBaseDn", "CN=A,O=X", {}, ""},
        NearestRow{"TailOfTheTextOnly", "CN=A,XO=X", {"O=X"}, ""},
        NearestRow{"EscapedComma", "CN=A\\,O=X", {"O=X"}, ""},
        NearestRow{"BaseDnInLowerCase", "CN=A,O=X", {"o=x"}, ""},
        NearestRow{"BaseDnWithABlank", "CN=A,OU=B,O=X", {"OU=B, O=X"}, ""},
        NearestRow{"MultiValuedEntry", "CN=A+SN=B,O=X", {"O=X"}, "O=X"},
        // The '+' is lost on the way up, so that only the entry itself meets such a base DN.
        NearestRow{
            "MultiValuedBaseDnItself", "CN=A+SN=B,O=X", {"CN=A+SN=B,O=X", "O=X"}, "CN=A+SN=B,O=X"},
        NearestRow{
            "BelowAMultiValuedBaseDn", "CN=C,CN=A+SN=B,O=X", {"CN=A+SN=B,O=X", "O=X"}, "O=X"}),
    [](const ::testing::TestParamInfo<NearestRow>& row) { return row.param.name; });

TEST(NearestAncestorOfAText, TriesTheTextAsWrittenAndThenNormalisedParents) {
  EXPECT_EQ(findNearestAncestor("cn=a,o=x", {"O=X"}), "O=X");
  EXPECT_EQ(findNearestAncestor("cn=a,o=x", {"CN=A,O=X"}), "");
  EXPECT_EQ(findNearestAncestor("cn=a,o=x", {"cn=a,o=x"}), "cn=a,o=x");
}

}  // namespace
