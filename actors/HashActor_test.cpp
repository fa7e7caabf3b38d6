#include "actors/HashActor.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>

#include "testsupport/CapturedOutput.h"
#include "testsupport/TracesOn.h"

#ifdef NDEBUG
#error "an unmet invariant has to abort the run in every build type"
#endif

namespace {

using Names = std::vector<std::string>;

ServerPairs server(const std::string& file) {
  return {{"url", "ldap://host"}, {"file", file}};
}

const std::vector<ServerPairs> threeServers = {server("a.ldif"), server("b.ldif"),
                                               server("c.ldif")};

Names filesOf(LdifActor& actor, const std::string& dn) {
  const std::unique_ptr<Names> files(actor.getOutputFilename(dn));
  return *files;
}

TEST(HashActor, FilesAreTheLastValuesWhateverTheirKeys) {
  const HashActor actor("O=EXAMPLE", {{{"url", "ldap://x"}, {"file", "a.ldif"}},
                                      {{"file", "not this"}, {"url", "b.ldif"}},
                                      {{"anything", "c.ldif"}},
                                      {{"url", "ldap://x"}, {"file", "x"}, {"", ""}},
                                      {{"file", "a.ldif"}}});
  EXPECT_EQ(actor.getOutputFiles(), Names({"a.ldif", "b.ldif", "c.ldif", "", "a.ldif"}));
}

TEST(HashActor, StartsNotActivated) {
  EXPECT_FALSE(HashActor("O=EXAMPLE", threeServers).isActivated());
}

/// The server of three that the hash gives for the RDN right below the base DN. Worked out with a
/// few lines of Python from the definition of the hash: FNV-1a of the bytes, two rounds of
/// multiply and shift, jump consistent hash for 3 buckets.
///
///   CN=D 1   UID=1 1   CN=A+SN=B 1   CN=E 2   OU=B 2   UID=3 2   CN=A 3   OU=A 3
struct HashRow {
  const char* name;
  const char* dn;
  const char* file;
};

void PrintTo(const HashRow& row, std::ostream* out) {
  *out << row.name;
}

class HashedFile : public ::testing::TestWithParam<HashRow> {};

TEST_P(HashedFile, IsThatOfTheRdnRightBelowTheBaseDn) {
  HashActor actor("O=EXAMPLE", threeServers);
  EXPECT_EQ(filesOf(actor, GetParam().dn), Names({GetParam().file}));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, HashedFile,
    ::testing::Values(HashRow{"FirstServer", "CN=D,O=EXAMPLE", "a.ldif"},
                      HashRow{"SecondServer", "CN=E,O=EXAMPLE", "b.ldif"},
                      HashRow{"ThirdServer", "CN=A,O=EXAMPLE", "c.ldif"},
                      HashRow{"OtherSpelling", "cn = a , o= Example", "c.ldif"},
                      // CN=A alone would be on the third server.
                      HashRow{"GrandchildByTheChild", "CN=A,OU=B,O=EXAMPLE", "b.ldif"},
                      HashRow{"ChildItself", "OU=B,O=EXAMPLE", "b.ldif"},
                      HashRow{"DeepByTheChild", "CN=A,CN=E,CN=A,UID=1,O=EXAMPLE", "a.ldif"},
                      HashRow{"MultiValuedChild", "sn=b+cn=a,o=example", "a.ldif"},
                      HashRow{"GrandchildOfAnotherChild", "CN=D,UID=3,O=EXAMPLE", "b.ldif"}),
    [](const ::testing::TestParamInfo<HashRow>& row) { return row.param.name; });

TEST(HashActor, BaseDnOfSeveralRdns) {
  HashActor actor("OU=PART,O=EXAMPLE", threeServers);
  EXPECT_EQ(filesOf(actor, "CN=D,OU=PART,O=EXAMPLE"), Names({"a.ldif"}));
  EXPECT_EQ(filesOf(actor, "CN=D,OU=A,OU=PART,O=EXAMPLE"), Names({"c.ldif"}));
}

TEST(HashActor, BaseDnAndThoseAboveGoToAllFiles) {
  HashActor actor("OU=PART,O=EXAMPLE", threeServers);
  const Names all = {"a.ldif", "b.ldif", "c.ldif"};
  EXPECT_EQ(filesOf(actor, "OU=PART,O=EXAMPLE"), all);
  EXPECT_EQ(filesOf(actor, "O=EXAMPLE"), all);
}

TEST(HashActor, SingleServerHoldsEveryDescendant) {
  HashActor actor("O=EXAMPLE", {server("only.ldif")});
  for (const char* dn :
       {"CN=A,O=EXAMPLE", "CN=D,O=EXAMPLE", "CN=E,O=EXAMPLE", "CN=E,OU=B,O=EXAMPLE", "O=EXAMPLE"}) {
    EXPECT_EQ(filesOf(actor, dn), Names({"only.ldif"})) << dn;
  }
}

TEST(HashActor, EachCallReturnsANewList) {
  HashActor actor("O=EXAMPLE", threeServers);
  const std::unique_ptr<Names> first(actor.getOutputFilename("CN=A,O=EXAMPLE"));
  const std::unique_ptr<Names> second(actor.getOutputFilename("CN=A,O=EXAMPLE"));
  EXPECT_NE(first.get(), second.get());
  first->front() = "changed";
  EXPECT_EQ(filesOf(actor, "CN=A,O=EXAMPLE"), Names({"c.ldif"}));
}

const char* const outsideTrace =
    "c8010000 Warning:  HashActor handling DN outside of its subtree\n";

TEST(HashActor, OutsideItsSubtreeTheOneNameIsEmpty) {
  HashActor actor("OU=PART,O=EXAMPLE", threeServers);
  for (const char* dn : {"OU=OTHER,O=EXAMPLE", "O=ELSEWHERE", "CN=A,O=ELSEWHERE",
                         "CN=A\\,OU=PART,O=EXAMPLE", "no dn"}) {
    const CapturedOutput output =
        captured([&] { EXPECT_EQ(filesOf(actor, dn), Names({""})) << dn; });
    EXPECT_EQ(output.err, "") << dn;
  }
}

TEST(HashActor, OutsideItsSubtreeItTracesAWarning) {
  const TracesOn traces;
  HashActor actor("OU=PART,O=EXAMPLE", threeServers);
  const CapturedOutput output = captured([&] { filesOf(actor, "OU=OTHER,O=EXAMPLE"); });
  EXPECT_EQ(output.err, outsideTrace);
}

TEST(HashActor, InsideItTracesNothing) {
  const TracesOn traces;
  HashActor actor("O=EXAMPLE", threeServers);
  const CapturedOutput output = captured([&] {
    filesOf(actor, "CN=A,O=EXAMPLE");
    filesOf(actor, "CN=A,OU=B,O=EXAMPLE");
    filesOf(actor, "O=EXAMPLE");
  });
  EXPECT_EQ(output.err, "");
}

/// A base DN that is stored in another spelling than the normal form is met by a child, whose
/// parent is compared normalised, and not by those below, who meet it as it is stored.
class BaseDnInAnotherSpelling : public ::testing::TestWithParam<const char*> {};

TEST_P(BaseDnInAnotherSpelling, TakesChildrenAndRefusesGrandchildren) {
  HashActor actor(GetParam(), threeServers);
  EXPECT_EQ(filesOf(actor, "CN=A,O=EXAMPLE"), Names({"c.ldif"}));
  EXPECT_EQ(filesOf(actor, "OU=B,O=EXAMPLE"), Names({"b.ldif"}));
  const TracesOn traces;
  const CapturedOutput output = captured([&] {
    EXPECT_EQ(filesOf(actor, "CN=A,OU=B,O=EXAMPLE"), Names({""}));
    EXPECT_EQ(filesOf(actor, "CN=X,CN=A,OU=B,O=EXAMPLE"), Names({""}));
  });
  EXPECT_EQ(output.err, std::string(outsideTrace) + outsideTrace);
}

INSTANTIATE_TEST_SUITE_P(Spellings, BaseDnInAnotherSpelling,
                         ::testing::Values("o=example", "O = EXAMPLE", "O=Example"));

TEST(HashActorDeathTest, ServerWithoutAnyPairAborts) {
  EXPECT_DEATH(HashActor("O=EXAMPLE", {server("a.ldif"), {}}), "!server\\.empty\\(\\)");
}

}  // namespace
