// The client library in several threads at a time. Each test is a process of its own where CTest
// runs it, so that the threads are also the first to call what they call. Under ThreadSanitizer a
// data race fails them.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/dirclient/dirclient.h"
#include "platform/trace/trace.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/LoadedSchema.h"

namespace {

constexpr int threadCount = 4;
constexpr int rounds = 300;

/// Calls `work` with the number of each thread in that thread, all of them at once.
void inThreads(const std::function<void(int)>& work) {
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int number = 0; number < threadCount; ++number) {
    threads.emplace_back([&, number] {
      ++ready;
      while (ready < threadCount) {
        std::this_thread::yield();
      }
      work(number);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

std::string normalized(ldap_escDN* (*normalize)(const char*), const char* dn) {
  ldap_escDN* record = normalize(dn);
  std::string text = record->normalizedText;
  free_ldap_escDN(&record);
  return text;
}

/// A DN that takes each of the ways through the normaliser: blanks and escapes, several values of
/// an RDN, and letters that are to be prepared.
constexpr const char* written = "cn = Jos\xc3\xa9 \\2c x + uid=b , mail=\"A@B\", o=x";
constexpr const char* light = "CN=JOS\xc3\x89 \\, X+UID=B,MAIL=A@B,O=X";

TEST(DirclientThreads, NormaliseAndHashWithoutASchema) {
  std::atomic<int> wrong{0};
  inThreads([&](int /*number*/) {
    for (int round = 0; round < rounds; ++round) {
      wrong += normalized(dn_normalize_light_esc, written) != light ? 1 : 0;
      wrong += normalized(dn_normalize_esc, written) != light ? 1 : 0;
      wrong += normalized(dn_normalize_light_esc, "no dn").empty() ? 0 : 1;
      // The number that the golden values of the hash have for it.
      wrong += get_hash_value_from_dn("uid = jo, o=x", "O=X", 64) != 19 ? 1 : 0;
      char url[] = "ldap://[::1]:389/o=x??sub?(cn=a)";
      wrong += ldap_is_ldap_url(url) == 0 ? 1 : 0;
    }
  });
  EXPECT_EQ(wrong, 0);
}

/// One thread loads schemas, the others normalise by whatever is in use: by one of them as a whole,
/// from the first that is there on.
TEST(DirclientThreads, NormaliseWhileSchemasAreReplaced) {
  const std::string exact =
      "attributetype ( 2.5.4.3 NAME 'cn' EQUALITY caseExactMatch SYNTAX 1.9 )\n"
      "attributetype ( 2.5.4.10 NAME ( 'o' 'org' ) SYNTAX 1.9 )\n";
  const std::string ignoring =
      "attributetype ( 2.5.4.3 NAME 'cn' EQUALITY caseIgnoreMatch SYNTAX 1.9 )\n"
      "attributetype ( 2.5.4.10 NAME ( 'company' 'org' ) SYNTAX 1.9 )\n";
  const std::vector<std::string> possible = {"CN=aB,O=X", "CN=AB,COMPANY=X"};
  loadSchema(exact);
  std::atomic<bool> stop{false};
  std::atomic<int> wrong{0};
  std::atomic<int> seen[2] = {};
  inThreads([&](int number) {
    if (number == 0) {
      // On and on until both were seen: how the threads take turns is up to the system.
      for (int round = 0; wrong == 0 && (round < rounds || seen[0] == 0 || seen[1] == 0); ++round) {
        loadSchema(round % 2 == 0 ? ignoring : exact);
      }
      stop = true;
      return;
    }
    while (!stop) {
      const std::string text = normalized(dn_normalize_esc, "cn=aB,org=x");
      seen[0] += text == possible[0] ? 1 : 0;
      seen[1] += text == possible[1] ? 1 : 0;
      wrong += text != possible[0] && text != possible[1] ? 1 : 0;
      wrong += normalized(dn_normalize_light_esc, "cn=aB,org=x") != "CN=AB,ORG=X" ? 1 : 0;
      wrong += get_hash_value_from_dn("cn=deep,uid=jo,o=x", "o=x", 64) != 19 ? 1 : 0;
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST(DirclientThreads, SwitchTheDebugLevelAndWriteWholeLines) {
  const std::string output = captured([] {
                               inThreads([](int number) {
                                 for (int round = 0; round < rounds; ++round) {
                                   write_ldap_debug(number == 0 ? 7 : 6);
                                   normalized(dn_normalize_light_esc, "no dn");
                                   get_hash_value_from_dn("cn=a,o=x", "o=x", 1);
                                 }
                               });
                             }).err;
  EXPECT_EQ(read_ldap_debug() & 6, 6);
  EXPECT_EQ(trcEvents & traceDebugEvent, traceDebugEvent);
  const std::string refusal = "dirclient: not a usable DN: no dn\n";
  const std::string decision = "dirclient: server 1 of 1 by: CN=A\n";
  std::size_t refusals = 0;
  std::size_t decisions = 0;
  for (std::size_t at = 0; at < output.size();) {
    const std::string line = output.substr(at, output.find('\n', at) + 1 - at);
    refusals += line == refusal ? 1 : 0;
    decisions += line == decision ? 1 : 0;
    ASSERT_TRUE(line == refusal || line == decision) << line;
    at += line.size();
  }
  EXPECT_EQ(refusals, std::size_t{threadCount} * rounds);
  EXPECT_EQ(decisions, std::size_t{threadCount} * rounds);
}

}  // namespace
