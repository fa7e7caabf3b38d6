#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "platform/dirclient/dirclient.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/HeapAllocations.h"
#include "testsupport/LoadedSchema.h"

namespace {

constexpr const char* base = "O=X";

std::string below(const std::string& rdn) {
  return rdn + "," + base;
}

struct Golden {
  const char* rdn;
  std::vector<int> servers;  // of 1, 2, 3, 5, 10, 64, 1000
};

// Computed once by a program of its own from the definition of the hash: FNV-1a of the RDN in
// normal form, mixed, into a jump consistent hash. Data lies where these numbers say: they never
// change.
const std::vector<Golden> golden = {
    {"UID=JO", {1, 2, 3, 5, 10, 19, 870}},       {"CN=A", {1, 2, 3, 3, 3, 32, 826}},
    {"CN=LOCAL HOST", {1, 1, 1, 1, 6, 61, 685}}, {"OU=SALES", {1, 2, 2, 4, 4, 29, 213}},
    {"CN=JO+UID=JO", {1, 2, 2, 2, 2, 22, 70}},   {"CN=M\xc3\x9cLLER", {1, 2, 2, 5, 5, 46, 276}},
    {"CN=A\\,B", {1, 2, 3, 5, 10, 37, 552}},
};

constexpr int counts[] = {1, 2, 3, 5, 10, 64, 1000};

TEST(Hash, GoldenValues) {
  for (const Golden& row : golden) {
    for (std::size_t i = 0; i < row.servers.size(); ++i) {
      EXPECT_EQ(get_hash_value_from_dn(below(row.rdn).c_str(), base, counts[i]), row.servers[i])
          << row.rdn << " of " << counts[i];
    }
  }
}

TEST(Hash, EverySpellingGivesTheSameNumber) {
  for (const char* dn : {"uid=jo,o=x", "UID = Jo , O = X", "oid.uid=\"jo\";o=x", "uid=\\6ao,o=x",
                         "uid=jo,o=\\20x"}) {
    EXPECT_EQ(get_hash_value_from_dn(dn, "o = x", 64), 19) << dn;
  }
  EXPECT_EQ(get_hash_value_from_dn("uid=jo+cn=jo,o=x", base, 64), 22);
  EXPECT_EQ(get_hash_value_from_dn("cn=mu\xcc\x88ller,o=x", base, 64), 46);
}

TEST(Hash, OnlyTheRdnDirectlyBelowTheBaseCounts) {
  EXPECT_EQ(get_hash_value_from_dn("cn=deep,ou=er,uid=jo,o=x", base, 64), 19);
  EXPECT_EQ(get_hash_value_from_dn("cn=a\\,b,uid=jo,o=x", base, 64), 19);
  EXPECT_EQ(get_hash_value_from_dn("cn=deep,cn=a\\,b,o=x", base, 64), 37);
  EXPECT_EQ(get_hash_value_from_dn("uid=jo,ou=b,o=x", "ou=b,o=x", 64), 19);
}

// Their whole normal form decides: "CN=A,O=Y", "O=X" and so on. Values by the same program as
// above.
TEST(Hash, DnsThatAreNotBelowTheBaseStillHaveAServer) {
  EXPECT_EQ(get_hash_value_from_dn("cn=a,o=y", base, 64), 34);
  EXPECT_EQ(get_hash_value_from_dn("cn=a,o=y", base, 1000), 171);
  EXPECT_EQ(get_hash_value_from_dn("cn=a,o=y", "", 64), 34);
  EXPECT_EQ(get_hash_value_from_dn("cn=a,o=y", nullptr, 64), 34);
  EXPECT_EQ(get_hash_value_from_dn("cn=a,o=y", "no dn", 64), 34);
  EXPECT_EQ(get_hash_value_from_dn("cn=a", "cn=a,o=y", 64), 32);
}

// The text of each DN ends in that of the base "B=C". Values by the same program as above.
TEST(Hash, BaseThatIsATailOfTheTextAloneIsNoBase) {
  // The RDN's value ends in the base: behind an escaped comma, behind another character, or both.
  EXPECT_EQ(get_hash_value_from_dn("cn=a\\,b=c", "b=c", 64), 6);          // by CN=A\,B=C
  EXPECT_EQ(get_hash_value_from_dn("cn=a\\,b=c", "b=c", 1000), 629);      // the same
  EXPECT_EQ(get_hash_value_from_dn("cn=ab=c", "b=c", 64), 27);            // by CN=AB=C
  EXPECT_EQ(get_hash_value_from_dn("cn=ab=c", "b=c", 1000), 998);         // the same
  EXPECT_EQ(get_hash_value_from_dn("cn=a\\\\\\,b=c", "b=c", 1000), 192);  // by CN=A\\\,B=C
  // An escaped backslash and a comma that separates: below the base.
  EXPECT_EQ(get_hash_value_from_dn("cn=a\\\\,b=c", "b=c", 64), 51);     // by CN=A\\ alone
  EXPECT_EQ(get_hash_value_from_dn("cn=a\\\\,b=c", "b=c", 1000), 227);  // the same
}

TEST(Hash, WhatIsNoDnHasTheServerOfTheEmptyText) {
  for (const char* dn : {"", "no dn", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(get_hash_value_from_dn(dn, base, 64), 60);
    EXPECT_EQ(get_hash_value_from_dn(dn, base, 1000), 500);
  }
}

TEST(Hash, NoServersNoNumber) {
  EXPECT_EQ(get_hash_value_from_dn("cn=a,o=x", base, 0), 0);
  EXPECT_EQ(get_hash_value_from_dn("cn=a,o=x", base, -5), 0);
}

TEST(Hash, LargestServerCount) {
  const int server = get_hash_value_from_dn("cn=a,o=x", base, 2147483647);
  EXPECT_GE(server, 1);
}

std::string numbered(int i) {
  return below("UID=USER" + std::to_string(i));
}

// For 20 000 entries on n servers a share has a standard deviation below sqrt(20000/n); six of them
// leave one failure in 500 million to chance, and the names never change.
TEST(Hash, SharesAreEvenFrom2To64Servers) {
  constexpr int entries = 20000;
  for (int servers = 2; servers <= 64; ++servers) {
    std::vector<double> shares(static_cast<std::size_t>(servers) + 1);
    for (int i = 0; i < entries; ++i) {
      const int server = get_hash_value_from_dn(numbered(i).c_str(), base, servers);
      ASSERT_GE(server, 1);
      ASSERT_LE(server, servers);
      shares[static_cast<std::size_t>(server)] += 1;
    }
    const double even = static_cast<double>(entries) / servers;
    for (int server = 1; server <= servers; ++server) {
      const double difference = shares[static_cast<std::size_t>(server)] - even;
      EXPECT_LT(difference * difference, 36 * even) << server << " of " << servers;
    }
  }
}

TEST(Hash, OneServerMoreMovesEntriesToItAlone) {
  constexpr int entries = 20000;
  for (int servers = 1; servers <= 63; ++servers) {
    int moved = 0;
    for (int i = 0; i < entries; ++i) {
      const int before = get_hash_value_from_dn(numbered(i).c_str(), base, servers);
      const int after = get_hash_value_from_dn(numbered(i).c_str(), base, servers + 1);
      if (before != after) {
        ++moved;
        ASSERT_EQ(after, servers + 1) << numbered(i);
      }
    }
    const double expected = static_cast<double>(entries) / (servers + 1);
    EXPECT_LT((moved - expected) * (moved - expected), 36 * expected) << servers;
  }
}

std::string repeated(const std::string& part, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += part;
  }
  return text;
}

TEST(Hash, NormalFormCostsNoMemory) {
  const std::vector<std::string> dns = {"UID=USER1,OU=PEOPLE,O=X",
                                        "CN=JO+UID=JO,O=X",
                                        "CN=A\\,B,O=X",
                                        repeated("CN=A,", 4000) + "O=X",
                                        "CN=" + std::string(1000000, 'A') + ",O=X",
                                        "CN=M\xc3\x9cLLER,O=X",
                                        repeated("OU=M\xc3\x9cLLER,", 8) + "O=X",
                                        "CN=" + repeated("\xc3\x9c", 100) + ",O=X",
                                        "1.2.3=#0401FF,O=X"};
  for (const std::string& dn : dns) {
    const long before = heapAllocations();
    get_hash_value_from_dn(dn.c_str(), base, 64);
    EXPECT_EQ(heapAllocations(), before) << dn.substr(0, 40);
  }
}

// So that the test above can fail: memory that has to be there is seen.
TEST(Hash, LongTextThatIsNotNormalCostsMemory) {
  const std::string dn = " CN=" + std::string(1000000, 'A') + ",O=X";
  const long before = heapAllocations();
  get_hash_value_from_dn(dn.c_str(), base, 64);
  EXPECT_GT(heapAllocations(), before);
}

TEST(Hash, LackOfMemoryIsNoServerAndIsTold) {
  const std::string dn = " CN=" + std::string(100000, 'A') + ",O=X";
  errno = 0;
  exhaustMemory(true);
  const int server = get_hash_value_from_dn(dn.c_str(), base, 64);
  const int bySchema = get_hash_value_from_dn_by_schema(dn.c_str(), base, 64);
  const int error = errno;
  exhaustMemory(false);
  EXPECT_EQ(server, 0);
  EXPECT_EQ(bySchema, 0);
  EXPECT_EQ(error, ENOMEM);
}

// "uid" and "o" have other names, all of which have the numbers of the first.
TEST(HashBySchema, IsThatOfTheNormalFormsBySchema) {
  inFreshProcess([] {
    EXPECT_EQ(get_hash_value_from_dn_by_schema("uid=jo,o=x", base, 64), 19);
    loadSchema(
        "attributetype ( 2.5.4.10 NAME ( 'o' 'organizationName' ) EQUALITY caseIgnoreMatch SYNTAX 1.9 )\n"
        "attributetype ( 1.1 NAME ( 'uid' 'userid' ) EQUALITY caseIgnoreMatch SYNTAX 1.9 )\n");
    EXPECT_EQ(get_hash_value_from_dn_by_schema("userid=jo,2.5.4.10=X", "organizationName=x", 64),
              19);
    EXPECT_EQ(get_hash_value_from_dn_by_schema("cn=deep,1.1=Jo,o=x", base, 1000), 870);
    EXPECT_NE(get_hash_value_from_dn("userid=jo,o=x", base, 64), 19);
    EXPECT_EQ(get_hash_value_from_dn_by_schema("uid=jo,o=x", base, 0), 0);
    EXPECT_EQ(get_hash_value_from_dn_by_schema(nullptr, nullptr, 64), 60);
  });
}

TEST(Threads, AgreeOnEveryAnswer) {
  std::vector<int> expected;
  for (int i = 0; i < 2000; ++i) {
    expected.push_back(get_hash_value_from_dn(numbered(i).c_str(), base, 64));
  }
  std::vector<int> failures(8);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < failures.size(); ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 2000; ++i) {
        write_ldap_debug(i % 2 == 0 ? 0 : 8);
        ldap_escDN* dn = dn_normalize_esc(("uid=u+cn=" + std::to_string(i) + ",o=x").c_str());
        const bool right = dn->rdnCount == 2 &&
                           dn->normalizedText == "CN=" + std::to_string(i) + "+UID=U,O=X" &&
                           get_hash_value_from_dn(numbered(i).c_str(), base, 64) ==
                               expected[static_cast<std::size_t>(i)];
        failures[t] += right ? 0 : 1;
        free_ldap_escDN(&dn);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  write_ldap_debug(0);
  EXPECT_EQ(failures, std::vector<int>(failures.size()));
}

}  // namespace
