#include "actors/CryptoActor.h"

#include <gtest/gtest.h>

#include <memory>

#include "testsupport/CapturedOutput.h"
#include "testsupport/TracesOn.h"

namespace {

using Names = std::vector<std::string>;

const Names files = {"A.ldif", "server10.ldif", "server2.ldif"};

Names filesOf(LdifActor& actor, const std::string& dn) {
  const std::unique_ptr<Names> found(actor.getOutputFilename(dn));
  return *found;
}

TEST(CryptoDn, IsInTheNormalFormOfTheClientLibrary) {
  EXPECT_STREQ(cryptoDN, "CN=LOCALHOST");
  EXPECT_STREQ(cryptoDNChild, "CN=CRYPTO");
  for (const char* spelling : {"cn=localhost", "CN=LOCALHOST", " cn = LocalHost "}) {
    LdifEntry entry;
    entry.setName(spelling);
    EXPECT_EQ(entry.getName(), cryptoDN);
  }
}

class CryptoActorOf : public ::testing::TestWithParam<const char*> {};

TEST_P(CryptoActorOf, EveryDnGoesToAllFiles) {
  CryptoActor actor(cryptoDN, files);
  EXPECT_EQ(filesOf(actor, GetParam()), files);
}

INSTANTIATE_TEST_SUITE_P(Dns, CryptoActorOf,
                         ::testing::Values("CN=LOCALHOST", "cn = LocalHost",
                                           "CN=CRYPTO,CN=LOCALHOST", "cn=crypto , cn=localhost",
                                           "CN=KEY,CN=CRYPTO,CN=LOCALHOST", "O=ELSEWHERE",
                                           "no dn"));

TEST(CryptoActor, KeepsItsBaseDnAndFiles) {
  const CryptoActor actor(cryptoDN, files);
  EXPECT_EQ(actor.getBaseDn(), "CN=LOCALHOST");
  EXPECT_EQ(actor.getOutputFiles(), files);
  EXPECT_FALSE(actor.isActivated());
}

TEST(CryptoActor, WithoutFilesEntriesGoNowhere) {
  CryptoActor actor(cryptoDN, {});
  EXPECT_EQ(filesOf(actor, "CN=LOCALHOST"), Names());
  EXPECT_EQ(filesOf(actor, "CN=CRYPTO,CN=LOCALHOST"), Names());
}

TEST(CryptoActor, EachCallReturnsANewList) {
  CryptoActor actor(cryptoDN, files);
  const std::unique_ptr<Names> first(actor.getOutputFilename("CN=CRYPTO,CN=LOCALHOST"));
  first->clear();
  EXPECT_EQ(filesOf(actor, "CN=CRYPTO,CN=LOCALHOST"), files);
  EXPECT_EQ(actor.getOutputFiles(), files);
}

TEST(CryptoActor, TracesAnEntryAndItsFiles) {
  const TracesOn traces;
  CryptoActor actor(cryptoDN, files);
  const CapturedOutput output = captured([&] { filesOf(actor, "cn=crypto,cn=localhost"); });
  EXPECT_EQ(output.err,
            "c8010000 CryptoActor received entry:  dn =CN=CRYPTO,CN=LOCALHOST=\n"
            "c8010000 CryptoFilename:  A.ldif\n"
            "c8010000 CryptoFilename:  server10.ldif\n"
            "c8010000 CryptoFilename:  server2.ldif\n");
}

TEST(CryptoActor, DoesNotTraceItsBaseDn) {
  const TracesOn traces;
  CryptoActor actor(cryptoDN, files);
  EXPECT_EQ(captured([&] { filesOf(actor, "CN=LOCALHOST"); }).err, "");
}

TEST(CryptoActor, TracesNothingWhenTracesAreOff) {
  CryptoActor actor(cryptoDN, files);
  EXPECT_EQ(captured([&] { filesOf(actor, "CN=CRYPTO,CN=LOCALHOST"); }).err, "");
}

}  // namespace
