#include "admin/Unsettled.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

std::uint64_t hashOf(const std::string& name) {
  return RecentNames::hash(name.data(), name.size());
}

TEST(RecentNames, KnowsThousandsOfNames) {
  constexpr int names = 20000;
  RecentNames recent;
  EXPECT_FALSE(recent.has(hashOf("cn=0")));
  for (int i = 0; i < names; ++i) {
    recent.add(hashOf("cn=" + std::to_string(i)));
  }
  for (int i = 0; i < names; ++i) {
    EXPECT_TRUE(recent.has(hashOf("cn=" + std::to_string(i)))) << i;
    EXPECT_FALSE(recent.has(hashOf("cn=" + std::to_string(i + names)))) << i;
  }
}

TEST(RecentNames, HasTheLastOfMoreThanItKeeps) {
  constexpr int names = 2000000;
  RecentNames recent;
  for (int i = 0; i < names; ++i) {
    recent.add(hashOf("cn=" + std::to_string(i)));
  }
  EXPECT_TRUE(recent.has(hashOf("cn=" + std::to_string(names - 1))));
  int first = 0;
  for (int i = 0; i < 1000; ++i) {
    first += recent.has(hashOf("cn=" + std::to_string(i))) ? 1 : 0;
  }
  EXPECT_LT(first, 1000);
}

TEST(RecentNames, HashesEveryByte) {
  const std::string name = "uid=user1,ou=people,dc=example";
  for (std::size_t i = 0; i < name.size(); ++i) {
    std::string other = name;
    other[i] = '!';
    EXPECT_NE(hashOf(other), hashOf(name)) << i;
    EXPECT_NE(hashOf(name.substr(0, i)), hashOf(name)) << i;
  }
  EXPECT_NE(hashOf(""), 0U);
}

/// More than is compared: so many of each kind are kept.
constexpr std::size_t most = 32768;

class UnsettledTest : public ::testing::Test {
 protected:
  UnsettledTest()
      : config_("unread", false),
        routing_(config_),
        differences_(1),
        unsettled_(differences_, routing_, files_) {}

  /// A different entry for each number.
  EntryPrint printOf(std::size_t number) const {
    const std::string name = "dn: cn=" + std::to_string(number) + ",o=example\n";
    EntryPrinter printer(key_);
    printer.add(name.data(), name.size());
    return printer.print();
  }

  void miss(std::size_t first, std::size_t end, bool isAtEnd) {
    for (std::size_t i = first; i < end; ++i) {
      unsettled_.add(Unsettled::Expected{0, printOf(i), 1, i, isAtEnd, false});
    }
  }

  void find(std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
      unsettled_.add(Unsettled::Found{0, printOf(i), 0, i, ""});
    }
  }

  const VarnelConfig config_;
  const Routing routing_;
  const std::vector<std::string> files_{"one.ldif"};
  const KeyedHash::Key key_ = KeyedHash::newKey();
  Differences differences_;
  Unsettled unsettled_;
};

TEST_F(UnsettledTest, CountsWhatIsTooManyToBeCompared) {
  miss(0, most - 1, false);
  EXPECT_TRUE(unsettled_.hasRoom());
  miss(most - 1, most + 10, false);
  EXPECT_FALSE(unsettled_.hasRoom());
  find(0, most + 20);
  unsettled_.settle();
  EXPECT_EQ(differences_.count(Difference::outOfOrder), most);
  EXPECT_EQ(differences_.count(Difference::missing), 10U);
  EXPECT_EQ(differences_.count(Difference::foreign), 20U);
  EXPECT_EQ(differences_.total(), most + 30);
}

TEST_F(UnsettledTest, CountsWhatIsMissingAtTheEnd) {
  miss(0, most + 10, true);
  unsettled_.countAtEnd(0);
  unsettled_.settle();
  EXPECT_EQ(differences_.count(Difference::missing), most + 11);
  EXPECT_EQ(differences_.count(Difference::truncated), 1U);
  ASSERT_EQ(differences_.kept().size(), 1U);
  EXPECT_EQ(differences_.kept()[0].expected, "the file ends before this and " +
                                                 std::to_string(most + 11) +
                                                 " entries are missing, expected the entry");
}

}  // namespace
