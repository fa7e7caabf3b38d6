#include "actors/ldifActorFactory.h"

#include <gtest/gtest.h>

#include <memory>

#include "actors/CryptoActor.h"
#include "actors/HashActor.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/TracesOn.h"

namespace {

using Actors = std::map<std::string, LdifActor*>;
using Names = std::vector<std::string>;

/// A configuration as it is after init(), with one section for each call of addSection.
class Configured {
 public:
  Configured() : config_("unread", false) { config_.inputFile_ = "unread.ldif"; }

  Configured& addSection(const std::string& baseDn, const Names& files) {
    std::vector<VarnelConfig::TokenRecord>& section = config_.baseDNSections_[baseDn];
    for (const std::string& file : files) {
      section.push_back({{"url", "ldap://host"}, {"file", file}});
    }
    section.push_back({{"", ""}, {"", ""}});
    config_.splitTypes_[baseDn] = VarnelConfig::splitByHash;
    return *this;
  }

  VarnelConfig& config() { return config_; }
  Actors actors() const { return ldifActorFactory(config_); }

 private:
  VarnelConfig config_;
};

Names keysOf(const Actors& actors) {
  Names keys;
  for (const auto& actor : actors) {
    keys.push_back(actor.first);
  }
  return keys;
}

bool isCrypto(const LdifActor* actor) {
  return dynamic_cast<const CryptoActor*>(actor) != nullptr;
}

bool isHash(const LdifActor* actor) {
  return dynamic_cast<const HashActor*>(actor) != nullptr;
}

TEST(LdifActorFactory, OneActorForEachBaseDnAndTheCryptoActor) {
  const Actors actors = Configured()
                            .addSection("O=A", {"a1.ldif", "a2.ldif"})
                            .addSection("O=B", {"b1.ldif", "b2.ldif", "b3.ldif"})
                            .actors();
  EXPECT_EQ(keysOf(actors), Names({"CN=LOCALHOST", "O=A", "O=B"}));
  EXPECT_TRUE(isHash(actors.at("O=A")));
  EXPECT_TRUE(isHash(actors.at("O=B")));
  EXPECT_TRUE(isCrypto(actors.at("CN=LOCALHOST")));
  EXPECT_EQ(actors.at("O=A")->getBaseDn(), "O=A");
  EXPECT_EQ(actors.at("CN=LOCALHOST")->getBaseDn(), "CN=LOCALHOST");
}

TEST(LdifActorFactory, SpareRecordIsNoServer) {
  const Actors actors = Configured().addSection("O=A", {"a1.ldif", "a2.ldif"}).actors();
  EXPECT_EQ(actors.at("O=A")->getOutputFiles(), Names({"a1.ldif", "a2.ldif"}));
}

TEST(LdifActorFactory, ConfigurationKeepsItsSpareRecord) {
  Configured configured;
  configured.addSection("O=A", {"a1.ldif"}).actors();
  EXPECT_EQ(configured.config().baseDNSections_.at("O=A").size(), 2U);
}

TEST(LdifActorFactory, ConfiguredActorsAreActivatedAndTheCryptoActorIsNot) {
  const Actors actors = Configured().addSection("O=A", {"a1.ldif"}).actors();
  EXPECT_TRUE(actors.at("O=A")->isActivated());
  EXPECT_FALSE(actors.at("CN=LOCALHOST")->isActivated());
}

TEST(LdifActorFactory, CryptoFilesAreInByteOrder) {
  const Actors actors = Configured()
                            .addSection("O=A", {"server2.ldif", "server10.ldif"})
                            .addSection("O=B", {"b.ldif", "Z.ldif", "a.ldif"})
                            .actors();
  EXPECT_EQ(actors.at("CN=LOCALHOST")->getOutputFiles(),
            Names({"Z.ldif", "a.ldif", "b.ldif", "server10.ldif", "server2.ldif"}));
}

TEST(LdifActorFactory, SharedFileIsInTheCryptoListOnce) {
  const Actors actors = Configured()
                            .addSection("O=A", {"shared.ldif", "a.ldif"})
                            .addSection("O=B", {"b.ldif", "shared.ldif"})
                            .actors();
  EXPECT_EQ(actors.at("CN=LOCALHOST")->getOutputFiles(),
            Names({"a.ldif", "b.ldif", "shared.ldif"}));
}

TEST(LdifActorFactory, WithoutBaseDnThereIsTheCryptoActorAlone) {
  const Actors actors = Configured().actors();
  EXPECT_EQ(keysOf(actors), Names({"CN=LOCALHOST"}));
  EXPECT_TRUE(isCrypto(actors.at("CN=LOCALHOST")));
  EXPECT_TRUE(actors.at("CN=LOCALHOST")->getOutputFiles().empty());
}

TEST(LdifActorFactory, CryptoActorReplacesAConfiguredActorOfItsName) {
  const Actors actors = Configured()
                            .addSection("CN=LOCALHOST", {"local.ldif"})
                            .addSection("O=A", {"a.ldif"})
                            .actors();
  EXPECT_EQ(keysOf(actors), Names({"CN=LOCALHOST", "O=A"}));
  EXPECT_TRUE(isCrypto(actors.at("CN=LOCALHOST")));
  EXPECT_EQ(actors.at("CN=LOCALHOST")->getOutputFiles(), Names({"a.ldif", "local.ldif"}));
}

TEST(LdifActorFactory, TracesItsSteps) {
  Configured configured;
  configured.addSection("O=B", {"b.ldif"}).addSection("O=A", {"z.ldif", "b.ldif"});
  const TracesOn traces;
  const CapturedOutput output = captured([&] { configured.actors(); });
  EXPECT_EQ(output.err,
            "c8010000 Doing ldifActorFactory\n"
            "c8010000 Constructing list of actors\n"
            "c8010000 Calling ldifIterate for the new Actor\n"
            "c8010000 Calling ldifIterate for the new Actor\n"
            "c8010000 Constructing list of filenames for CryptoActor\n"
            "c8010000 Next filename inserted into set:  #z.ldif#\n"
            "c8010000 Next filename inserted into set:  #b.ldif#\n"
            "c8010000 Next filename inserted into set:  #b.ldif#\n"
            "c8010000 Output filename:  b.ldif\n"
            "c8010000 Output filename:  z.ldif\n"
            "c8010000 Finished with ldifActorFactory\n");
}

TEST(LdifActorFactory, TracesNothingWhenTracesAreOff) {
  Configured configured;
  configured.addSection("O=A", {"a.ldif"});
  EXPECT_EQ(captured([&] { configured.actors(); }).err, "");
}

TEST(LdifActorFactoryDeathTest, OtherSplitTypeAborts) {
  Configured configured;
  configured.addSection("O=A", {"a.ldif"});
  configured.config().splitTypes_.clear();
  const TracesOn traces;
  EXPECT_DEATH(configured.actors(), "c8110000 Warning: non-HashActor type found \n.*Assertion");
}

}  // namespace
