#include "actors/LdifEntry.h"

#include <gtest/gtest.h>

#include <ostream>
#include <type_traits>

namespace {

TEST(LdifEntry, StartsEmpty) {
  LdifEntry entry;
  EXPECT_EQ(entry.getName(), "");
  EXPECT_TRUE(entry.getAttributes().empty());
  ASSERT_NE(entry.getEntry(), nullptr);
  EXPECT_EQ(entry.getEntry()->word, 0);
}

TEST(LdifEntry, GetEntrySetsTheFirstWordToZero) {
  LdifEntry entry;
  RawEntry* raw = entry.getEntry();
  raw->word = 7;
  EXPECT_EQ(entry.getEntry(), raw);
  EXPECT_EQ(raw->word, 0);
}

TEST(LdifEntry, HasAVirtualDestructor) {
  EXPECT_TRUE(std::has_virtual_destructor<LdifEntry>::value);
}

TEST(LdifEntry, NameIsNormalised) {
  LdifEntry entry;
  const std::string dn = " cn = Jo , o=x ";
  entry.setName(dn);
  EXPECT_EQ(entry.getName(), "CN=JO,O=X");
  EXPECT_EQ(dn, " cn = Jo , o=x ");
}

TEST(LdifEntry, LaterNameReplacesTheFirst) {
  LdifEntry entry;
  entry.setName("cn=a,o=x");
  entry.setName("o=y");
  EXPECT_EQ(entry.getName(), "O=Y");
  entry.setName("no dn");
  EXPECT_EQ(entry.getName(), "");
}

TEST(LdifEntry, KeepsAttributesInTheirOrderUntilCleared) {
  LdifEntry entry;
  entry.setName("o=y");
  entry.addAttribute("b", "2");
  entry.addAttribute("a", "1");
  entry.addAttribute("b", "2");
  const std::vector<LdifEntry::Attribute> expected = {{"b", "2"}, {"a", "1"}, {"b", "2"}};
  EXPECT_EQ(entry.getAttributes(), expected);
  entry.clear();
  EXPECT_EQ(entry.getName(), "");
  EXPECT_TRUE(entry.getAttributes().empty());
}

struct PlaceRow {
  const char* name;
  const char* dn;
  const char* other;
  bool parent;
  bool ancestor;
};

void PrintTo(const PlaceRow& row, std::ostream* out) {
  *out << row.name;
}

class PlaceOf : public ::testing::TestWithParam<PlaceRow> {
 protected:
  PlaceOf() {
    entry_.setName(GetParam().dn);
    other_.setName(GetParam().other);
  }

  LdifEntry entry_;
  LdifEntry other_;
};

TEST_P(PlaceOf, HasParent) {
  EXPECT_EQ(entry_.hasParent(GetParam().other), GetParam().parent);
  EXPECT_EQ(entry_.hasParent(other_), GetParam().parent);
}

TEST_P(PlaceOf, HasAncestor) {
  EXPECT_EQ(entry_.hasAncestor(GetParam().other), GetParam().ancestor);
  EXPECT_EQ(entry_.hasAncestor(other_), GetParam().ancestor);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, PlaceOf,
    ::testing::Values(
        PlaceRow{"Child", "cn=a,ou=b,o=c", "ou=b,o=c", true, true},
        PlaceRow{"Grandchild", "cn=a,ou=b,o=c", "o=c", false, true},
        PlaceRow{"Itself", "cn=a,o=c", "cn=a,o=c", false, false},
        PlaceRow{"Above", "o=c", "cn=a,o=c", false, false},
        PlaceRow{"Sibling", "cn=a,o=c", "cn=b,o=c", false, false},
        PlaceRow{"Elsewhere", "cn=a,o=c", "o=d", false, false},
        PlaceRow{"OneRdnAndEmptyDn", "o=c", "", false, false},
        PlaceRow{"ChildAndEmptyDn", "cn=a,o=c", "", false, false},
        PlaceRow{"EmptyDnBelowNothing", "", "o=c", false, false},
        PlaceRow{"BothEmpty", "", "", false, false},
        PlaceRow{"NoDnAsOther", "cn=a,o=c", "no dn", false, false},
        PlaceRow{"CaseOfTheOther", "cn=a,o=c", "O=C", true, true},
        PlaceRow{"CaseOfTheEntry", "CN=A,O=C", "o=c", true, true},
        PlaceRow{"BlanksOfTheOther", "cn=a,ou=b,o=c", " ou = b ;  o =c ", true, true},
        PlaceRow{"BlanksOfTheEntry", "cn=a , ou = b, o=c", "ou=b,o=c", true, true},
        PlaceRow{"BlanksInsideTheValue", "cn=a,o=my  org", "o=My Org", true, true},
        PlaceRow{"BlankThatMakesAnotherValue", "cn=a,o=myorg", "o=my org", false, false},
        PlaceRow{"TextThatEndsAlike", "cn=a,xo=c", "o=c", false, false},
        PlaceRow{"CommaInAValue", "cn=a\\,o=c", "o=c", false, false},
        PlaceRow{"MultiValuedChild", "cn=a+sn=b,o=c", "o=c", true, true},
        // The parent's text loses the '+', so that it equals no DN that names the real parent.
        PlaceRow{"MultiValuedParent", "cn=x,ou=a+l=b,o=c", "ou=a+l=b,o=c", false, false},
        PlaceRow{"AboveAMultiValuedParent", "cn=x,ou=a+l=b,o=c", "o=c", false, true}),
    [](const ::testing::TestParamInfo<PlaceRow>& row) { return row.param.name; });

TEST(LdifEntry, NullIsNobodysParent) {
  LdifEntry entry;
  EXPECT_FALSE(entry.hasParent(nullptr));
  entry.setName("cn=a,o=c");
  EXPECT_FALSE(entry.hasParent(nullptr));
}

}  // namespace
