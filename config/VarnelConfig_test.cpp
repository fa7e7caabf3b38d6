// The configuration object apart from its parser.
#include "config/VarnelConfig.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <ostream>

#include "config/PreparedFiles.h"
#include "config/VarnelConfigException.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/TracesOn.h"
#include "testsupport/messageLine.h"

namespace {

TEST(VarnelConfig, StartsWithItsDefaults) {
  const TemporaryDirectory directory;
  inFreshProcess([&] {
    ASSERT_EQ(::chdir(directory.name().c_str()), 0);
    const VarnelConfig config("my.conf", true);
    EXPECT_TRUE(config.recovery_);
    EXPECT_EQ(config.logFile_, "varnel.log");
    EXPECT_EQ(config.actionType_, 3);
    EXPECT_EQ(config.cwd_, directory.name());
    EXPECT_EQ(config.baseDir_, directory.name());
    EXPECT_EQ(config.reserved_, "");
    EXPECT_EQ(config.defaultOutputFile_, "parent.ldif");
    EXPECT_EQ(config.configFile_, "my.conf");
    EXPECT_EQ(config.inputFile_, "");
    EXPECT_EQ(config.lineCount_, 0);
    EXPECT_TRUE(config.baseDNSections_.empty());
    EXPECT_TRUE(config.splitTypes_.empty());
    EXPECT_TRUE(config.tokenKeys_.empty());
    EXPECT_TRUE(config.numTokens_.empty());
    EXPECT_FALSE(VarnelConfig("my.conf", false).recovery_);
  });
}

TEST(VarnelConfig, TracesItsBaseDirectory) {
  const TemporaryDirectory directory;
  inFreshProcess([&] {
    ASSERT_EQ(::chdir(directory.name().c_str()), 0);
    const TracesOn traces;
    const CapturedOutput output = captured([] { VarnelConfig("my.conf", false); });
    EXPECT_EQ(output.err, "c8010000 Using CWD as BaseDirectory: " + directory.name() + "\n");
  });
}

TEST(VarnelConfig, WithoutAWorkingDirectoryTheBaseDirectoryIsEmpty) {
  const TemporaryDirectory directory;
  inFreshProcess([&] {
    ASSERT_EQ(::mkdir(directory.path("gone").c_str(), 0700), 0);
    ASSERT_EQ(::chdir(directory.path("gone").c_str()), 0);
    ASSERT_EQ(::rmdir(directory.path("gone").c_str()), 0);
    const VarnelConfig config("my.conf", false);
    EXPECT_EQ(config.cwd_, "");
    EXPECT_EQ(config.baseDir_, "");
  });
}

/// Faults of a configuration that is read on behind each of them, as "LINE text".
std::vector<std::string> faultsOf(const std::string& text, std::vector<std::string>* baseDNs) {
  const TemporaryDirectory directory;
  directory.write("in.ldif", "");
  EXPECT_EQ(::chdir(directory.name().c_str()), 0);
  std::vector<std::string> faults;
  captured([&] {
    VarnelConfig config(directory.write("conf", "logfile: run.log\n" + text),
                        std::make_shared<PreparedFiles>(false),
                        [&](const VarnelConfigException& fault) {
                          faults.push_back(std::to_string(fault.line()) + " " + fault.message());
                        });
    config.init();
    *baseDNs = config.baseDNlist();
  });
  return faults;
}

TEST(VarnelConfig, WithAReceiverEveryFaultIsTold) {
  inFreshProcess([] {
    std::vector<std::string> baseDNs;
    EXPECT_EQ(faultsOf("actiontype: nothing\n"                 // 2
                       "inputfile: in.ldif\n"                  // 3
                       "defaultoutputfile: rest.ldif\n"        // 4
                       "\n"                                    // 5
                       "spiltby: numservers\n"                 // 6
                       "splitby: numservers\n"                 // 7
                       "basedn: o=a\n"                         // 8
                       "url: http://one\nfile: one.ldif\n"     // 9, 10
                       "basedn: nonsense\n"                    // 11
                       "url: ldap://one\nfile: two.ldif\n"     // 12, 13
                       "basedn: O=A\n"                         // 14
                       "url: ldap://one\nfile: three.ldif\n",  // 15, 16
                       &baseDNs),
              (std::vector<std::string>{
                  "2 error: \"nothing\" not allowed for option \"actiontype\"",
                  "6 error: \"spiltby\" not allowed",
                  "9 error: \"http://one\" not allowed for option \"url\"",
                  "11 error: \"nonsense\" not allowed for option \"basedn\"",
                  // Of the section of lines 8 to 10, whose "url" line does not count.
                  "11 error: urlis missing in configuration file on line number 11",
                  "14 error: \"O=A\" is a duplicate value for option \"basedn\"",
                  "0 error: actiontypeis missing in configuration file"}));
    ASSERT_EQ(baseDNs.size(), 3U);
    EXPECT_TRUE(VarnelConfig::isOfFaultyLine(baseDNs[0])) << baseDNs[0];
    EXPECT_TRUE(VarnelConfig::isOfFaultyLine(baseDNs[1])) << baseDNs[1];
    EXPECT_FALSE(VarnelConfig::isOfFaultyLine(baseDNs[2]));
    EXPECT_EQ(baseDNs[2], "O=A");
  });
}

TEST(VarnelConfig, WithAReceiverAFaultBehindTheLastLineIsTold) {
  inFreshProcess([] {
    std::vector<std::string> baseDNs;
    EXPECT_EQ(faultsOf("", &baseDNs),
              (std::vector<std::string>{"0 error: basednis missing in configuration file",
                                        "0 error: actiontypeis missing in configuration file",
                                        "0 error: inputfileis missing in configuration file"}));
  });
}

TEST(VarnelConfig, WithAReceiverAFileThatCannotBeReadStillEndsTheReading) {
  inFreshProcess([] {
    captured([] {
      VarnelConfig config("/nonexistent", std::make_shared<PreparedFiles>(false),
                          [](const VarnelConfigException&) {});
      EXPECT_THROW(config.init(), VarnelConfigException);
    });
  });
}

TEST(VarnelConfig, ValuesOfTheEnumerationAreFixed) {
  EXPECT_EQ(static_cast<int>(VarnelConfig::splitByHash), 1);
  EXPECT_EQ(static_cast<int>(VarnelConfig::splitByNone), 3);
  EXPECT_EQ(sizeof(VarnelConfig::splitByEnum), 4U);
}

TEST(VarnelConfig, BaseDnsAreInByteOrder) {
  VarnelConfig config("my.conf", false);
  EXPECT_TRUE(config.baseDNlist().empty());
  for (const char* dn : {"O=Z", "O=A", "O=a", "OU=B,O=A", "C=X"}) {
    config.baseDNSections_[dn];
  }
  EXPECT_EQ(config.baseDNlist(),
            std::vector<std::string>({"C=X", "O=A", "O=Z", "O=a", "OU=B,O=A"}));
}

TEST(VarnelConfig, SplitTypeOfAnUnknownBaseDnIsNone) {
  VarnelConfig config("my.conf", false);
  config.splitTypes_["O=A"] = VarnelConfig::splitByHash;
  EXPECT_EQ(config.getSplitType("O=A"), VarnelConfig::splitByHash);
  EXPECT_EQ(config.getSplitType("O=B"), VarnelConfig::splitByNone);
  EXPECT_EQ(config.getSplitType("o=a"), VarnelConfig::splitByNone);
  EXPECT_EQ(config.getSplitType(""), VarnelConfig::splitByNone);
}

TEST(VarnelConfig, CopyRefersToTheTokenKeysOfItsSource) {
  VarnelConfig config("my.conf", false);
  config.tokenKeys_ = {"url", "file"};
  config.currentTokenKeys_ = &config.tokenKeys_;
  config.baseDNSections_["O=A"] = {{{"url", "u"}, {"file", "f"}}};
  const VarnelConfig copy = config;
  EXPECT_EQ(copy.currentTokenKeys_, &config.tokenKeys_);
  EXPECT_EQ(copy.baseDNSections_, config.baseDNSections_);
}

TEST(VarnelConfig, CheckInvariantsAcceptsEverything) {
  const VarnelConfig config("my.conf", false);
  const CapturedOutput output = captured([&] {
    EXPECT_NO_THROW(config.checkInvariants("", "", 0));
    EXPECT_NO_THROW(config.checkInvariants("no key", "no value", -1));
  });
  EXPECT_EQ(output.out + output.err, "");
}

using Keys = std::vector<std::string>;

/// `missing` is the key that is reported, or a null pointer for none.
struct CountsRow {
  const char* name;
  std::vector<int> counts;
  Keys keys;
  const char* missing;
};

void PrintTo(const CountsRow& row, std::ostream* out) {
  *out << row.name;
}

class ValidateNumTokensList : public ::testing::TestWithParam<CountsRow> {};

TEST_P(ValidateNumTokensList, ReportsTheKeyThatIsMissing) {
  const CountsRow& row = GetParam();
  const VarnelConfig config("my.conf", false);
  Keys keys = row.keys;
  std::string missing = "(none)";
  const CapturedOutput output = captured([&] {
    try {
      EXPECT_TRUE(config.validateNumTokensList(row.counts, keys.empty() ? nullptr : &keys, 20));
    } catch (const VarnelConfigException& failure) {
      EXPECT_EQ(failure.line(), 20);
      missing = failure.message();
    }
  });
  if (row.missing == nullptr) {
    EXPECT_EQ(missing, "(none)");
    EXPECT_EQ(output.err, "");
  } else {
    EXPECT_EQ(missing, std::string("error: ") + row.missing +
                           "is missing in configuration file on line number 20");
    EXPECT_EQ(output.err, messageLine(51, {row.missing, "20"}));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ValidateNumTokensList,
    ::testing::Values(CountsRow{"NoCounts", {}, {"k0", "k1"}, "k0"},
                      CountsRow{"NoCountsAndNoKeys", {}, {}, "url"},
                      CountsRow{"Equal", {2, 2}, {"url", "file"}, nullptr},
                      CountsRow{"BothZero", {0, 0}, {"url", "file"}, nullptr},
                      CountsRow{"One", {5}, {"url"}, nullptr},
                      CountsRow{"MoreUrls", {2, 1}, {"url", "file"}, "file"},
                      CountsRow{"MoreFiles", {1, 2}, {"url", "file"}, "url"},
                      CountsRow{"OnlyUrls", {1, 0}, {"url", "file"}, "file"},
                      CountsRow{"OnlyFiles", {0, 1}, {"url", "file"}, "url"},
                      CountsRow{"ThreeEqual", {3, 3, 3}, {"k0", "k1", "k2"}, nullptr},
                      CountsRow{"ThirdLess", {3, 3, 2}, {"k0", "k1", "k2"}, "k2"},
                      CountsRow{"ThirdGreater", {3, 3, 4}, {"k0", "k1", "k2"}, "k1"},
                      CountsRow{"FirstDifferenceCounts", {3, 4, 2}, {"k0", "k1", "k2"}, "k0"}),
    [](const ::testing::TestParamInfo<CountsRow>& row) { return row.param.name; });

}  // namespace
