// The parser of the configuration file, from the whole of init() down to single lines. It keeps its
// progress in function-static variables, so that every text is read in a process of its own.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "config/VarnelConfig.h"
#include "config/VarnelConfigException.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/TracesOn.h"
#include "testsupport/messageLine.h"

namespace {

using Names = std::vector<std::string>;

/// How init() ended.
struct Parsed {
  bool threw = false;
  int line = -1;
  std::string message;
  std::string out;
  std::string err;
};

/// A directory with "in.ldif" and the directories "sub" and "other". The texts of the tests say "@"
/// for its name; it is the working directory of the process that parses.
class ConfigFile : public ::testing::Test {
 protected:
  ConfigFile() {
    directory_.write("in.ldif", "dn: o=x\n");
    ::mkdir(directory_.path("sub").c_str(), 0700);
    ::mkdir(directory_.path("other").c_str(), 0700);
  }

  std::string filledIn(std::string text) const {
    for (auto at = text.find('@'); at != std::string::npos; at = text.find('@', at + 1)) {
      text.replace(at, 1, directory_.name());
    }
    return text;
  }

  /// To be called in a fresh process.
  Parsed init(VarnelConfig& config) const {
    Parsed parsed;
    const CapturedOutput output = captured([&] {
      try {
        config.init();
      } catch (const VarnelConfigException& failure) {
        parsed.threw = true;
        parsed.line = failure.line();
        parsed.message = failure.message();
      }
    });
    parsed.out = output.out;
    parsed.err = output.err;
    return parsed;
  }

  /// Reads the text in a fresh process and gives what came of it to `check`, which runs there.
  void parse(const std::string& text, bool recovery,
             const std::function<void(const VarnelConfig&, const Parsed&)>& check) const {
    directory_.write("varnelConfig", filledIn(text));
    inFreshProcess([&] {
      ASSERT_EQ(::chdir(directory_.name().c_str()), 0);
      VarnelConfig config("varnelConfig", recovery);
      check(config, init(config));
    });
  }

  /// Reads a text that is accepted.
  void accept(const std::string& text, bool recovery,
              const std::function<void(const VarnelConfig&)>& check) const {
    parse(text, recovery, [&](const VarnelConfig& config, const Parsed& parsed) {
      EXPECT_FALSE(parsed.threw) << parsed.message;
      EXPECT_EQ(parsed.out + parsed.err, "");
      check(config);
    });
  }

  TemporaryDirectory directory_;
};

/// A text that is refused; "@" is the directory. `number` is 0 where no message is printed.
struct RefusedRow {
  const char* name;
  const char* text;
  int line;
  const char* message;
  int number;
  Names arguments;
};

void PrintTo(const RefusedRow& row, std::ostream* out) {
  *out << row.name;
}

class Refused : public ConfigFile, public ::testing::WithParamInterface<RefusedRow> {
 protected:
  void expectRefusal(bool recovery) const {
    const RefusedRow& row = GetParam();
    parse(row.text, recovery, [&](const VarnelConfig& /*config*/, const Parsed& parsed) {
      EXPECT_TRUE(parsed.threw);
      EXPECT_EQ(parsed.line, row.line);
      EXPECT_EQ(parsed.message, filledIn(row.message));
      Names arguments;
      for (const std::string& argument : row.arguments) {
        arguments.push_back(filledIn(argument));
      }
      EXPECT_EQ(parsed.err, row.number != 0 ? messageLine(row.number, arguments) : "");
      EXPECT_EQ(parsed.out, "");
    });
  }
};

std::string nameOfRow(const ::testing::TestParamInfo<RefusedRow>& row) {
  return row.param.name;
}

TEST_P(Refused, WithTheMessageAndTheLine) {
  expectRefusal(false);
}

INSTANTIATE_TEST_SUITE_P(
    RepeatedKeys, Refused,
    ::testing::Values(
        RefusedRow{"Logfile",
                   "logfile: a.log\nlogfile: b.log\n",
                   2,
                   "error: \"logfile\" configured multiple times",
                   48,
                   {"logfile", "2"}},
        RefusedRow{"LogfileOfTheSameName",
                   "logfile: a.log\n\n# x\nLOG FILE: a.log\n",
                   4,
                   "error: \"logfile\" configured multiple times",
                   48,
                   {"logfile", "4"}},
        RefusedRow{"Inputfile",
                   "inputfile: in.ldif\ninputfile: in.ldif\n",
                   2,
                   "error: \"inputfile\" configured multiple times",
                   48,
                   {"inputfile", "2"}},
        RefusedRow{"Defaultoutputfile",
                   "defaultoutputfile: p.ldif\ndefaultoutputfile: q.ldif\n",
                   2,
                   "error: \"defaultoutputfile\" configured multiple times",
                   48,
                   {"defaultoutputfile", "2"}},
        RefusedRow{"Actiontype",
                   "actiontype: splitonly\nactiontype: splitonly\n",
                   2,
                   "error: \"actiontype\" configured multiple times",
                   48,
                   {"actiontype", "2"}},
        RefusedRow{"Splitby",
                   "splitby: rdnhash\nsplitby: numservers\n",
                   2,
                   "error: \"splitby\" configured multiple times",
                   48,
                   {"splitby", "2"}},
        // That the key stands again counts first, whatever its value.
        RefusedRow{"ActiontypeAndItsValueIsIllegal",
                   "actiontype: splitonly\nactiontype: other\n",
                   2,
                   "error: \"actiontype\" configured multiple times",
                   48,
                   {"actiontype", "2"}},
        RefusedRow{"SplitbyAndItsValueIsIllegal",
                   "splitby: rdnhash\nsplitby: other\n",
                   2,
                   "error: \"splitby\" configured multiple times",
                   48,
                   {"splitby", "2"}},
        RefusedRow{"InputfileThatIsMissing",
                   "inputfile: in.ldif\ninputfile: missing.ldif\n",
                   2,
                   "error: \"inputfile\" configured multiple times",
                   48,
                   {"inputfile", "2"}},
        RefusedRow{"DefaultoutputfileThatExists",
                   "defaultoutputfile: p.ldif\ndefaultoutputfile: in.ldif\n",
                   2,
                   "error: \"defaultoutputfile\" configured multiple times",
                   48,
                   {"defaultoutputfile", "2"}},
        RefusedRow{"BasedirectoryThatIsMissing",
                   "basedirectory: @/sub\nbasedirectory: @/missing\n",
                   2,
                   "error: \"basedirectory\" configured multiple times",
                   48,
                   {"basedirectory", "2"}},
        RefusedRow{"BasedirectoryOfTheSameName",
                   "basedirectory: @/sub\nbasedirectory: @/sub\n",
                   2,
                   "error: \"basedirectory\" configured multiple times",
                   48,
                   {"basedirectory", "2"}},
        RefusedRow{"FiledirectoryAfterBasedirectory",
                   "basedirectory: @/sub\nfiledirectory: @/other\n",
                   2,
                   "error: \"filedirectory\" configured multiple times",
                   48,
                   {"filedirectory", "2"}},
        RefusedRow{"BasedirectoryAfterItselfAndAFile",
                   "basedirectory: @/sub\nlogfile: a.log\nbasedirectory: @/sub\n",
                   3,
                   "error: \"basedirectory\" configured multiple times",
                   48,
                   {"basedirectory", "3"}},
        RefusedRow{"Basedn",
                   "splitby: rdnhash\nbasedn: o=x\nurl: ldap://h\nfile: a.ldif\nbasedn: O = X\n",
                   5,
                   "error: \"O=X\" is a duplicate value for option \"basedn\"",
                   17,
                   {"basedn", "O=X", "5"}},
        RefusedRow{"BasednWithoutTokensBetween",
                   "basedn: o=x\nbasedn: o=x\n",
                   2,
                   "error: \"O=X\" is a duplicate value for option \"basedn\"",
                   17,
                   {"basedn", "O=X", "2"}}),
    nameOfRow);

INSTANTIATE_TEST_SUITE_P(
    IllegalKeys, Refused,
    ::testing::Values(
        RefusedRow{"Unknown", "colour: red\n", 1, "error: \"colour\" not allowed", 4, {"1"}},
        RefusedRow{"Parenturl",
                   "\nparenturl: ldap://h\n",
                   2,
                   "error: \"parenturl\" not allowed",
                   4,
                   {"2"}},
        RefusedRow{"Rdnfilter", "rdnfilter: x\n", 1, "error: \"rdnfilter\" not allowed", 4, {"1"}},
        RefusedRow{
            "Numservers", "numservers: 3\n", 1, "error: \"numservers\" not allowed", 4, {"1"}},
        RefusedRow{"Dn", "dn: o=x\n", 1, "error: \"dn\" not allowed", 4, {"1"}},
        RefusedRow{
            "Subtreedn", "subtreedn: o=x\n", 1, "error: \"subtreedn\" not allowed", 4, {"1"}},
        RefusedRow{"UrlBeforeTheFirstBasedn",
                   "url: ldap://h\n",
                   1,
                   "error: \"url\" not allowed",
                   4,
                   {"1"}},
        RefusedRow{"FileBeforeTheFirstBasedn",
                   "file: a.ldif\n",
                   1,
                   "error: \"file\" not allowed",
                   4,
                   {"1"}},
        RefusedRow{
            "TwoWordsWithoutColon", "Two words\n", 1, "error: \"twowords\" not allowed", 4, {"1"}},
        RefusedRow{"BasedirectoryAfterInputfile",
                   "inputfile: in.ldif\nbasedirectory: @/sub\n",
                   2,
                   "error: \"basedirectory\" not allowed",
                   4,
                   {"2"}},
        RefusedRow{"BasedirectoryAfterLogfile",
                   "logfile: a.log\nbasedirectory: @/sub\n",
                   2,
                   "error: \"basedirectory\" not allowed",
                   4,
                   {"2"}},
        RefusedRow{"FiledirectoryAfterDefaultoutputfile",
                   "defaultoutputfile: p.ldif\nfiledirectory: @/sub\n",
                   2,
                   "error: \"filedirectory\" not allowed",
                   4,
                   {"2"}},
        RefusedRow{"SplitbyInASection",
                   "splitby: rdnhash\nbasedn: o=x\nsplitby: rdnhash\n",
                   3,
                   "error: \"splitby\" not allowed",
                   4,
                   {"3"}},
        RefusedRow{"ActiontypeInASection",
                   "splitby: rdnhash\nbasedn: o=x\nactiontype: splitonly\n",
                   3,
                   "error: \"actiontype\" not allowed",
                   4,
                   {"3"}},
        RefusedRow{"InputfileInASection",
                   "splitby: rdnhash\nbasedn: o=x\ninputfile: in.ldif\n",
                   3,
                   "error: \"inputfile\" not allowed",
                   4,
                   {"3"}},
        RefusedRow{"BasedirectoryInASection",
                   "splitby: rdnhash\nbasedn: o=x\nbasedirectory: @/sub\n",
                   3,
                   "error: \"basedirectory\" not allowed",
                   4,
                   {"3"}},
        RefusedRow{"DnInASection",
                   "splitby: rdnhash\nbasedn: o=x\ndn: o=y\n",
                   3,
                   "error: \"dn\" not allowed",
                   4,
                   {"3"}}),
    nameOfRow);

INSTANTIATE_TEST_SUITE_P(
    IllegalValues, Refused,
    ::testing::Values(
        RefusedRow{"Empty",
                   "inputfile:\n",
                   1,
                   "error: \"\" not allowed for option \"inputfile\"",
                   6,
                   {"", "inputfile"}},
        RefusedRow{"EmptyOfAnUnknownKey",
                   "colour:  \n",
                   1,
                   "error: \"\" not allowed for option \"colour\"",
                   6,
                   {"", "colour"}},
        RefusedRow{"EmptyInASection",
                   "splitby: rdnhash\nbasedn: o=x\nurl:\n",
                   3,
                   "error: \"\" not allowed for option \"url\"",
                   6,
                   {"", "url"}},
        RefusedRow{"EmptyLogfile",
                   "logfile: \n",
                   1,
                   "error: \"\" not allowed for option \"logfile\"",
                   6,
                   {"", "logfile"}},
        RefusedRow{"EmptyBasedn",
                   "basedn:\n",
                   1,
                   "error: \"\" not allowed for option \"basedn\"",
                   6,
                   {"", "basedn"}},
        RefusedRow{"BasednThatIsNoDn",
                   "Base DN:   No DN \n",
                   1,
                   "error: \"No DN\" not allowed for option \"basedn\"",
                   6,
                   {"No DN", "basedn"}},
        RefusedRow{"DnThatIsNoDn",
                   "dn: nothing\n",
                   1,
                   "error: \"nothing\" not allowed for option \"dn\"",
                   6,
                   {"nothing", "dn"}},
        RefusedRow{"SubtreednThatIsNoDn",
                   "subtreedn: nothing\n",
                   1,
                   "error: \"nothing\" not allowed for option \"subtreedn\"",
                   6,
                   {"nothing", "subtreedn"}},
        RefusedRow{"BareBasedn",
                   "basedn\n",
                   1,
                   "error: \"basedn\" not allowed for option \"basedn\"",
                   6,
                   {"basedn", "basedn"}},
        RefusedRow{"Actiontype",
                   "actiontype: Split And Configure\n",
                   1,
                   "error: \"splitandconfigure\" not allowed for option \"actiontype\"",
                   6,
                   {"splitandconfigure", "actiontype"}},
        RefusedRow{"Splitby",
                   "splitby: Rdn Filter\n",
                   1,
                   "error: \"rdnfilter\" not allowed for option \"splitby\"",
                   6,
                   {"rdnfilter", "splitby"}},
        RefusedRow{"Url",
                   "splitby: rdnhash\nbasedn: o=x\nurl: http://h\n",
                   3,
                   "error: \"http://h\" not allowed for option \"url\"",
                   6,
                   {"http://h", "url"}},
        RefusedRow{
            "Basedirectory", "basedirectory: @/in.ldif\n", 1, "@/in.ldif", 13, {"@/in.ldif"}},
        RefusedRow{"BasedirectoryThatIsMissing",
                   "\nfiledirectory: @/missing\n",
                   2,
                   "@/missing",
                   13,
                   {"@/missing"}}),
    nameOfRow);

INSTANTIATE_TEST_SUITE_P(
    Files, Refused,
    ::testing::Values(RefusedRow{"InputfileIsMissing",
                                 "inputfile: missing.ldif\n",
                                 1,
                                 "error: @/missing.ldifdoes not exist or cannot be opened",
                                 7,
                                 {"@/missing.ldif", "1"}},
                      RefusedRow{"InputfileIsMissingInTheBaseDirectory",
                                 "basedirectory: @/sub\ninputfile: in.ldif\n",
                                 2,
                                 "error: @/sub/in.ldifdoes not exist or cannot be opened",
                                 7,
                                 {"@/sub/in.ldif", "2"}},
                      RefusedRow{"DefaultoutputfileExists",
                                 "defaultoutputfile: in.ldif\n",
                                 1,
                                 "error: @/in.ldiffile exists.  Cannot overwrite.",
                                 8,
                                 {"@/in.ldif"}},
                      RefusedRow{"DefaultoutputfileCannotBeCreated",
                                 "defaultoutputfile: @/missing/p.ldif\n",
                                 1,
                                 "error: @/missing/p.ldifdoes not exist or cannot be opened",
                                 7,
                                 {"@/missing/p.ldif", "1"}},
                      RefusedRow{"FileExists",
                                 "splitby: rdnhash\nbasedn: o=x\nfile: in.ldif\n",
                                 3,
                                 "error: @/in.ldiffile exists.  Cannot overwrite.",
                                 8,
                                 {"@/in.ldif"}},
                      RefusedRow{"FileIsNamedTwice",
                                 "splitby: rdnhash\nbasedn: o=x\nfile: a.ldif\nfile: a.ldif\n",
                                 4,
                                 "error: @/a.ldiffile exists.  Cannot overwrite.",
                                 8,
                                 {"@/a.ldif"}},
                      RefusedRow{"FileCannotBeCreated",
                                 "splitby: rdnhash\nbasedn: o=x\nfile: @/missing/a.ldif\n",
                                 3,
                                 "error: @/missing/a.ldifdoes not exist or cannot be opened",
                                 7,
                                 {"@/missing/a.ldif", "3"}},
                      // What could not be created when the key was read shows at the end.
                      RefusedRow{
                          "LogfileCannotBeCreated",
                          "actiontype: splitonly\ninputfile: in.ldif\nlogfile: @/missing/a.log\n"
                          "splitby: rdnhash\nbasedn: o=x\nurl: ldap://h\nfile: a.ldif\n",
                          0,
                          "@/missing/a.log",
                          0,
                          {}}),
    nameOfRow);

INSTANTIATE_TEST_SUITE_P(
    MissingKeys, Refused,
    ::testing::Values(
        RefusedRow{
            "EmptyFile", "", 0, "error: basednis missing in configuration file", 49, {"basedn"}},
        RefusedRow{"CommentsOnly",
                   "# nothing\n\n : x\n",
                   0,
                   "error: basednis missing in configuration file",
                   49,
                   {"basedn"}},
        RefusedRow{"Basedn",
                   "actiontype: splitonly\ninputfile: in.ldif\nsplitby: rdnhash\n",
                   0,
                   "error: basednis missing in configuration file",
                   49,
                   {"basedn"}},
        RefusedRow{
            "Actiontype",
            "inputfile: in.ldif\nsplitby: rdnhash\nbasedn: o=x\nurl: ldap://h\nfile: a.ldif\n",
            0,
            "error: actiontypeis missing in configuration file",
            49,
            {"actiontype"}},
        RefusedRow{"ActiontypeBeforeInputfile",
                   "splitby: rdnhash\nbasedn: o=x\nurl: ldap://h\nfile: a.ldif\n",
                   0,
                   "error: actiontypeis missing in configuration file",
                   49,
                   {"actiontype"}},
        RefusedRow{"Inputfile",
                   "actiontype: splitonly\nsplitby: rdnhash\nbasedn: o=x\nurl: ldap://h\n"
                   "file: a.ldif\n",
                   0,
                   "error: inputfileis missing in configuration file",
                   49,
                   {"inputfile"}},
        RefusedRow{"SplitbyBeforeAUrl",
                   "basedn: o=x\nurl: ldap://h\n",
                   0,
                   "error: splitbyis missing in configuration file",
                   49,
                   {"splitby"}},
        RefusedRow{"SplitbyBeforeAFile",
                   "basedn: o=x\nfile: in.ldif\n",
                   0,
                   "error: splitbyis missing in configuration file",
                   49,
                   {"splitby"}},
        RefusedRow{"SplitbyStandsInTheSection",
                   "basedn: o=x\nsplitby: rdnhash\n",
                   0,
                   "error: splitbyis missing in configuration file",
                   49,
                   {"splitby"}},
        RefusedRow{"FileBeforeTheNextBasedn",
                   "splitby: rdnhash\nbasedn: o=x\nurl: ldap://h\nfile: a.ldif\nurl: ldap://i\n"
                   "\n\n\n\n\n\n\n\n\n\n\n\n\n\nbasedn: o=y\n",
                   20,
                   "error: fileis missing in configuration file on line number 20",
                   51,
                   {"file", "20"}},
        RefusedRow{"UrlBeforeTheNextBasedn",
                   "splitby: rdnhash\nbasedn: o=x\nfile: a.ldif\nbasedn: o=y\n",
                   4,
                   "error: urlis missing in configuration file on line number 4",
                   51,
                   {"url", "4"}},
        RefusedRow{"TokensBeforeTheNextBasedn",
                   "splitby: rdnhash\nbasedn: o=x\nbasedn: o=y\n",
                   3,
                   "error: urlis missing in configuration file on line number 3",
                   51,
                   {"url", "3"}},
        RefusedRow{"TokensBeforeTheThirdBasedn",
                   "splitby: rdnhash\nbasedn: o=x\nurl: ldap://h\nfile: a.ldif\nbasedn: o=y\n"
                   "basedn: o=z\n",
                   6,
                   "error: urlis missing in configuration file on line number 6",
                   51,
                   {"url", "6"}},
        RefusedRow{"FileInTheLastSection",
                   "actiontype: splitonly\ninputfile: in.ldif\nsplitby: rdnhash\nbasedn: o=x\n"
                   "url: ldap://h\n",
                   6,
                   "error: fileis missing in configuration file on line number 6",
                   51,
                   {"file", "6"}},
        RefusedRow{"UrlInTheLastSection",
                   "actiontype: splitonly\ninputfile: in.ldif\nsplitby: rdnhash\nbasedn: o=x\n"
                   "url: ldap://h\nfile: a.ldif\nbasedn: o=y\nfile: b.ldif",
                   9,
                   "error: urlis missing in configuration file on line number 9",
                   51,
                   {"url", "9"}},
        RefusedRow{"TokensInTheOnlySection",
                   "actiontype: splitonly\ninputfile: in.ldif\nbasedn: o=x\n",
                   4,
                   "error: urlis missing in configuration file on line number 4",
                   51,
                   {"url", "4"}},
        RefusedRow{"TokensInTheLastSection",
                   "actiontype: splitonly\ninputfile: in.ldif\nsplitby: rdnhash\nbasedn: o=x\n"
                   "url: ldap://h\nfile: a.ldif\nbasedn: o=a\n",
                   8,
                   "error: urlis missing in configuration file on line number 8",
                   51,
                   {"url", "8"}}),
    nameOfRow);

/// Texts that recovery mode refuses.
class RefusedInRecovery : public Refused {};

TEST_P(RefusedInRecovery, WithTheMessageAndTheLine) {
  expectRefusal(true);
}

INSTANTIATE_TEST_SUITE_P(
    Files, RefusedInRecovery,
    ::testing::Values(RefusedRow{"LogfileIsMissing", "logfile: a.log\n", 1, "@/a.log", 0, {}},
                      RefusedRow{"DefaultoutputfileIsMissing",
                                 "defaultoutputfile: p.ldif\n",
                                 1,
                                 "error: @/p.ldifdoes not exist or cannot be opened",
                                 7,
                                 {"@/p.ldif", "1"}},
                      RefusedRow{"FileIsMissing",
                                 "splitby: rdnhash\nbasedn: o=x\nfile: a.ldif\n",
                                 3,
                                 "error: @/a.ldifdoes not exist or cannot be opened",
                                 7,
                                 {"@/a.ldif", "3"}},
                      RefusedRow{"InputfileIsMissing",
                                 "inputfile: missing.ldif\n",
                                 1,
                                 "error: @/missing.ldifdoes not exist or cannot be opened",
                                 7,
                                 {"@/missing.ldif", "1"}},
                      RefusedRow{"DefaultoutputfileByDefaultIsMissing",
                                 "actiontype: splitonly\ninputfile: in.ldif\nbasedn: o=x\n",
                                 0,
                                 "error: parent.ldifdoes not exist or cannot be opened",
                                 7,
                                 {"parent.ldif", "0"}}),
    nameOfRow);

class Accepted : public ConfigFile {};

const char* const workedExample =
    "actiontype: splitonly\n"
    "basedirectory: @\n"
    "inputfile: in.ldif\n"
    "logfile: split.log\n"
    "defaultoutputfile: parent.ldif\n"
    "splitby: numservers\n"
    "# first subtree, two servers\n"
    "basedn: o=example\n"
    "url: ldap://server1:389\n"
    "file: server1.ldif\n"
    "url: ldap://server2:389\n"
    "file: server2.ldif\n";

/// Three records: two servers and the spare one.
void expectWorkedExample(const VarnelConfig& config, const std::string& directory) {
  const VarnelConfig::TokenRecord first = {{"url", "ldap://server1:389"},
                                           {"file", directory + "/server1.ldif"}};
  const VarnelConfig::TokenRecord second = {{"url", "ldap://server2:389"},
                                            {"file", directory + "/server2.ldif"}};
  const VarnelConfig::TokenRecord spare = {{"", ""}, {"", ""}};
  ASSERT_EQ(config.baseDNlist(), Names({"O=EXAMPLE"}));
  EXPECT_EQ(config.baseDNSections_.at("O=EXAMPLE"),
            std::vector<VarnelConfig::TokenRecord>({first, second, spare}));
  EXPECT_EQ(config.getSplitType("O=EXAMPLE"), VarnelConfig::splitByHash);
  EXPECT_EQ(config.numTokens_, std::vector<int>({2, 2}));
  EXPECT_EQ(config.tokenKeys_, Names({"url", "file"}));
  EXPECT_EQ(config.currentTokenKeys_, &config.tokenKeys_);
}

TEST_F(Accepted, WorkedExample) {
  accept(workedExample, false, [&](const VarnelConfig& config) {
    expectWorkedExample(config, directory_.name());
    EXPECT_EQ(config.actionType_, 0);
    EXPECT_EQ(config.baseDir_, directory_.name());
    EXPECT_EQ(config.inputFile_, directory_.path("in.ldif"));
    EXPECT_EQ(config.logFile_, directory_.path("split.log"));
    EXPECT_EQ(config.defaultOutputFile_, directory_.path("parent.ldif"));
    EXPECT_EQ(config.reserved_, "");
    EXPECT_EQ(config.lineCount_, 13);
  });
  for (const char* file : {"parent.ldif", "server1.ldif", "server2.ldif", "split.log"}) {
    EXPECT_EQ(directory_.read(file), "") << file;
  }
  EXPECT_EQ(directory_.read("in.ldif"), "dn: o=x\n");
}

TEST_F(Accepted, LastLineNeedsNoLineFeed) {
  std::string text = workedExample;
  text.pop_back();
  accept(text, false, [&](const VarnelConfig& config) {
    expectWorkedExample(config, directory_.name());
    EXPECT_EQ(config.lineCount_, 13);
  });
}

TEST_F(Accepted, EmptyLastLineCounts) {
  accept(std::string(workedExample) + "\n", false,
         [](const VarnelConfig& config) { EXPECT_EQ(config.lineCount_, 14); });
}

TEST_F(Accepted, LinesMayEndInCarriageReturns) {
  std::string text = workedExample;
  for (auto at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2)) {
    text.insert(at, 1, '\r');
  }
  accept(text, false,
         [&](const VarnelConfig& config) { expectWorkedExample(config, directory_.name()); });
}

/// The mandatory global keys; the default names stay.
const std::string globals = "actiontype: splitonly\ninputfile: in.ldif\nsplitby: rdnhash\n";

/// The orders in which the four lines of two servers may stand.
class TokenOrder : public Accepted, public ::testing::WithParamInterface<const char*> {};

TEST_P(TokenOrder, NthLineOfEachKeyIsTheNthServer) {
  std::string text = globals + "basedn: o=example\n";
  int urls = 0;
  int files = 0;
  for (const char token : std::string(GetParam())) {
    text += token == 'u' ? "url: ldap://server" + std::to_string(++urls) + ":389\n"
                         : "file: server" + std::to_string(++files) + ".ldif\n";
  }
  accept(text, false,
         [&](const VarnelConfig& config) { expectWorkedExample(config, directory_.name()); });
}

INSTANTIATE_TEST_SUITE_P(Orders, TokenOrder,
                         ::testing::Values("ufuf", "uuff", "uffu", "ffuu", "fufu", "fuuf"),
                         [](const ::testing::TestParamInfo<const char*>& row) {
                           return std::string(row.param);
                         });

TEST_F(Accepted, DefaultNamesAreInTheWorkingDirectory) {
  accept(
      "basedirectory: @/sub\nactiontype: splitonly\ninputfile: @/in.ldif\nsplitby: rdnhash\n"
      "basedn: o=x\nurl: ldap://h\nfile: a.ldif\n",
      false, [&](const VarnelConfig& config) {
        EXPECT_EQ(config.baseDir_, directory_.path("sub"));
        EXPECT_EQ(config.cwd_, directory_.name());
        EXPECT_EQ(config.logFile_, "varnel.log");
        EXPECT_EQ(config.defaultOutputFile_, "parent.ldif");
      });
  EXPECT_EQ(directory_.read("varnel.log"), "");
  EXPECT_EQ(directory_.read("parent.ldif"), "version: 1\n\n");
  EXPECT_EQ(directory_.read("sub/a.ldif"), "");
}

TEST_F(Accepted, NamesWithASlashAreRelativeToTheWorkingDirectory) {
  accept(
      "basedirectory: @/sub\nactiontype: splitonly\ninputfile: ./in.ldif\nsplitby: rdnhash\n"
      "logfile: other/a.log\nbasedn: o=x\nurl: ldap://h\nfile: other/a.ldif\n",
      false, [&](const VarnelConfig& config) {
        EXPECT_EQ(config.inputFile_, "./in.ldif");
        EXPECT_EQ(config.logFile_, "other/a.log");
      });
  EXPECT_TRUE(directory_.has("other/a.log"));
  EXPECT_TRUE(directory_.has("other/a.ldif"));
}

TEST_F(Accepted, BasedirectoryIsTakenAsWritten) {
  accept(
      "file directory: sub\nactiontype: splitonly\ninputfile: ./in.ldif\nsplitby: rdnhash\n"
      "basedn: o=x\nurl: ldap://h\nfile: a.ldif\n",
      false, [&](const VarnelConfig& config) {
        EXPECT_EQ(config.baseDir_, "sub");
        EXPECT_EQ(config.baseDNSections_.at("O=X")[0][1].second, "sub/a.ldif");
      });
  EXPECT_TRUE(directory_.has("sub/a.ldif"));
}

TEST_F(Accepted, BasedirectoryAfterTheWorkingDirectoryItself) {
  accept(
      "basedirectory: @\nbasedirectory: @/sub\n"
      "actiontype: splitonly\ninputfile: @/in.ldif\nsplitby: rdnhash\n"
      "basedn: o=x\nurl: ldap://h\nfile: a.ldif\n",
      false,
      [&](const VarnelConfig& config) { EXPECT_EQ(config.baseDir_, directory_.path("sub")); });
}

TEST_F(Accepted, KeywordsInAnyCaseWithBlanksInside) {
  accept(
      "ACTION type: Split Only\ninputfile: in.ldif\nSplitBy: Num \t Servers\n"
      "basedn: o=x\nurl: ldap://h\nfile: a.ldif\n",
      false, [](const VarnelConfig& config) {
        EXPECT_EQ(config.actionType_, 0);
        EXPECT_EQ(config.getSplitType("O=X"), VarnelConfig::splitByHash);
      });
}

TEST_F(Accepted, BaseDnIsNormalised) {
  accept(globals + "BaseDN :  OU = My  Unit ; O=Example \nurl: ldap://h\nfile: a.ldif\n", false,
         [](const VarnelConfig& config) {
           EXPECT_EQ(config.baseDNlist(), Names({"OU=MY UNIT,O=EXAMPLE"}));
         });
}

TEST_F(Accepted, SectionsAreListedInByteOrder) {
  accept(globals +
             "basedn: o=z\nurl: ldap://h\nfile: z.ldif\n"
             "basedn: o=a\nurl: ldap://h\nfile: a1.ldif\nfile: a2.ldif\nurl: ldap://i\n",
         false, [](const VarnelConfig& config) {
           EXPECT_EQ(config.baseDNlist(), Names({"O=A", "O=Z"}));
           EXPECT_EQ(config.baseDNSections_.at("O=A").size(), 3U);
           EXPECT_EQ(config.baseDNSections_.at("O=Z").size(), 2U);
           EXPECT_EQ(config.numTokens_, std::vector<int>({2, 2}));
         });
}

TEST_F(Accepted, CommentsAndBlankLinesInASection) {
  accept(globals + "basedn: o=x\n  # a: b\n\nurl: ldap://h\n: nothing\nfile: a.ldif\n", false,
         [](const VarnelConfig& config) {
           EXPECT_EQ(config.baseDNSections_.at("O=X").size(), 2U);
           EXPECT_EQ(config.lineCount_, 10);
         });
}

TEST_F(Accepted, BareKeyIsItsOwnValue) {
  accept(
      "logfile\n" + globals + "basedn: o=x\nurl: ldap://h\nfile: a.ldif\n", false,
      [&](const VarnelConfig& config) { EXPECT_EQ(config.logFile_, directory_.path("logfile")); });
  EXPECT_TRUE(directory_.has("logfile"));
}

TEST_F(Accepted, ExistingLogfileKeepsItsContent) {
  directory_.write("a.log", "57\n");
  accept("logfile: a.log\n" + globals + "basedn: o=x\nurl: ldap://h\nfile: a.ldif\n", false,
         [](const VarnelConfig& /*config*/) {});
  EXPECT_EQ(directory_.read("a.log"), "57\n");
}

TEST_F(Accepted, EmptyLogFileNameFallsBackToTheBaseDirectory) {
  directory_.write("varnelConfig",
                   filledIn("basedirectory: @/sub\nactiontype: splitonly\ninputfile: @/in.ldif\n"
                            "splitby: rdnhash\nbasedn: o=x\nurl: ldap://h\nfile: a.ldif\n"));
  inFreshProcess([&] {
    ASSERT_EQ(::chdir(directory_.name().c_str()), 0);
    VarnelConfig config("varnelConfig", false);
    config.logFile_.clear();
    EXPECT_FALSE(init(config).threw);
    EXPECT_EQ(config.logFile_, directory_.path("sub/varnel.log"));
  });
  EXPECT_TRUE(directory_.has("sub/varnel.log"));
}

class Recovery : public Accepted {
 protected:
  Recovery() {
    for (const char* file : {"split.log", "parent.ldif", "server1.ldif", "server2.ldif"}) {
      directory_.write(file, "old\n");
    }
  }
};

TEST_F(Recovery, KeepsTheLogAndTheDefaultOutputFileAndEmptiesTheServerFiles) {
  accept(workedExample, true, [&](const VarnelConfig& config) {
    EXPECT_TRUE(config.recovery_);
    expectWorkedExample(config, directory_.name());
  });
  EXPECT_EQ(directory_.read("split.log"), "old\n");
  EXPECT_EQ(directory_.read("parent.ldif"), "old\n");
  EXPECT_EQ(directory_.read("server1.ldif"), "");
  EXPECT_EQ(directory_.read("server2.ldif"), "");
}

TEST_F(Recovery, KeepsTheDefaultOutputFileByDefault) {
  accept(globals + "basedn: o=x\nurl: ldap://h\nfile: server1.ldif\n", true,
         [](const VarnelConfig& /*config*/) {});
  EXPECT_EQ(directory_.read("parent.ldif"), "old\n");
}

TEST_F(Recovery, MayNameAFileTwice) {
  accept(globals +
             "basedn: o=x\nurl: ldap://h\nfile: server1.ldif\n"
             "basedn: o=y\nurl: ldap://h\nfile: server1.ldif\n",
         true, [](const VarnelConfig& config) { EXPECT_EQ(config.baseDNlist().size(), 2U); });
}

TEST_F(Recovery, MayNotNameAFileInTwoWays) {
  parse(globals +
            "basedn: o=x\nurl: ldap://h\nfile: server1.ldif\n"
            "basedn: o=y\nurl: ldap://h\nfile: @/sub/../server1.ldif\n",
        true, [&](const VarnelConfig& config, const Parsed& parsed) {
          EXPECT_TRUE(parsed.threw);
          EXPECT_EQ(parsed.line, config.lastLine_);
          EXPECT_EQ(config.lastLineText_, filledIn("file: @/sub/../server1.ldif"));
          EXPECT_EQ(parsed.err, messageLine(6, {filledIn("@/sub/../server1.ldif"), "file"}));
        });
}

TEST_F(Recovery, LooksAtADefaultFileBeforeAServerFileIsEmptied) {
  parse(globals + "basedn: o=x\nurl: ldap://h\nfile: ./parent.ldif\n", true,
        [](const VarnelConfig& /*config*/, const Parsed& parsed) {
          EXPECT_EQ(parsed.err, messageLine(6, {"./parent.ldif", "file"}));
        });
  EXPECT_EQ(directory_.read("parent.ldif"), "old\n");
}

TEST_F(Accepted, WarnsOfWhatIsSeldomMeant) {
  parse(globals + "basedn: a=1+b=2,o=x\nurl: ldap://h\nfile: \"a\"\nurl: ldap://h\nfile: b #c\n",
        false, [&](const VarnelConfig& config, const Parsed& parsed) {
          EXPECT_FALSE(parsed.threw) << parsed.message;
          const int last = config.lastLine_;
          EXPECT_EQ(parsed.err, messageLine(65, {"A=1+B=2,O=X", std::to_string(last - 4)}) +
                                    messageLine(72, {"file", "\"a\"", std::to_string(last - 2)}) +
                                    messageLine(72, {"file", "b #c", std::to_string(last)}) +
                                    messageLine(71, {"A=1+B=2,O=X", "ldap://h"}));
          EXPECT_EQ(parsed.out, "");
        });
}

TEST_F(Accepted, WithoutRecoveryTheDefaultOutputFileByDefaultMustNotExist) {
  directory_.write("parent.ldif", "old\n");
  parse(globals + "basedn: o=x\nurl: ldap://h\nfile: a.ldif\n", false,
        [](const VarnelConfig& /*config*/, const Parsed& parsed) {
          EXPECT_TRUE(parsed.threw);
          EXPECT_EQ(parsed.line, 0);
          EXPECT_EQ(parsed.message, "error: parent.ldiffile exists.  Cannot overwrite.");
          EXPECT_EQ(parsed.err, messageLine(8, {"parent.ldif"}));
        });
  EXPECT_EQ(directory_.read("parent.ldif"), "old\n");
}

TEST_F(Accepted, WhatARefusedConfigurationCreatedStays) {
  parse(
      "logfile: a.log\ndefaultoutputfile: p.ldif\nsplitby: rdnhash\nbasedn: o=x\nfile: a.ldif\n"
      "colour: red\n",
      false, [](const VarnelConfig& /*config*/, const Parsed& parsed) {
        EXPECT_TRUE(parsed.threw);
        EXPECT_EQ(parsed.line, 6);
      });
  for (const char* file : {"a.log", "p.ldif", "a.ldif"}) {
    EXPECT_EQ(directory_.read(file), "") << file;
  }
  EXPECT_FALSE(directory_.has("parent.ldif"));
}

TEST_F(Accepted, TracesEachLineThatIsNotSkipped) {
  directory_.write("varnelConfig",
                   filledIn("# c\nFile Directory:  @/sub \n\nactiontype: split only\n"));
  inFreshProcess([&] {
    ASSERT_EQ(::chdir(directory_.name().c_str()), 0);
    VarnelConfig config("varnelConfig", false);
    const TracesOn traces;
    EXPECT_EQ(init(config).err, filledIn("c8010000 reading conf file: filedirectory | @/sub\n"
                                         "c8010000 default baseDir_ is @\n"
                                         "c8010000 reading conf file: actiontype | split only\n") +
                                    messageLine(49, {"basedn"}));
  });
}

/// The configuration file itself.
class UnreadableConfigFile : public ConfigFile,
                             public ::testing::WithParamInterface<const char*> {};

TEST_P(UnreadableConfigFile, IsMessageTwo) {
  inFreshProcess([&] {
    ASSERT_EQ(::chdir(directory_.name().c_str()), 0);
    VarnelConfig config(GetParam(), false);
    const Parsed parsed = init(config);
    EXPECT_TRUE(parsed.threw);
    EXPECT_EQ(parsed.line, 0);
    EXPECT_EQ(parsed.message, "File not found or cannot be opened");
    EXPECT_EQ(parsed.err, messageLine(2, {GetParam()}));
    EXPECT_EQ(parsed.out, "");
  });
}

// A directory opens, and fails at the first read.
INSTANTIATE_TEST_SUITE_P(Files, UnreadableConfigFile, ::testing::Values("missing", "sub", ""));

TEST_F(ConfigFile, WithoutAWorkingDirectoryABaseDirectoryIsMandatory) {
  directory_.write("varnelConfig", "");
  inFreshProcess([&] {
    ASSERT_EQ(::chdir(directory_.path("sub").c_str()), 0);
    ASSERT_EQ(::rmdir(directory_.path("sub").c_str()), 0);
    VarnelConfig config(directory_.path("varnelConfig"), false);
    const Parsed parsed = init(config);
    EXPECT_TRUE(parsed.threw);
    EXPECT_EQ(parsed.line, 0);
    EXPECT_EQ(parsed.message, "");
    EXPECT_EQ(parsed.err, messageLine(13, {""}));
  });
}

/// Calls of the two steps themselves, with keys and values that no line of a file yields.
class ProcessLine : public ConfigFile {
 protected:
  std::string failureOf(const std::function<void()>& call) const {
    std::string message = "(none)";
    captured([&] {
      try {
        call();
      } catch (const VarnelConfigException& failure) {
        message = failure.message() + " " + std::to_string(failure.line());
      }
    });
    return message;
  }
};

TEST_F(ProcessLine, EmptyKeyAndValueAreNothing) {
  inFreshProcess([&] {
    VarnelConfig config("unread", false);
    EXPECT_EQ(failureOf([&] { config.processLine("", "", 4); }), "(none)");
  });
}

TEST_F(ProcessLine, EmptyKeyIsIllegal) {
  inFreshProcess([&] {
    VarnelConfig config("unread", false);
    EXPECT_EQ(failureOf([&] { config.processLine("", "value", 4); }), "error: \"\" not allowed 4");
  });
}

TEST_F(ProcessLine, EmptyBaseDnIsIllegal) {
  inFreshProcess([&] {
    VarnelConfig config("unread", false);
    EXPECT_EQ(
        failureOf([&] { config.processBaseDNSection("basedn", "", 4, VarnelConfig::splitByHash); }),
        "error: \"\" not allowed for option \"basedn\" 4");
  });
}

TEST_F(ProcessLine, SectionOpensWithOneRecordWithoutSlots) {
  inFreshProcess([&] {
    VarnelConfig config("unread", false);
    config.processBaseDNSection("basedn", "O=X", 4, VarnelConfig::splitByNone);
    EXPECT_EQ(config.baseDNSections_.at("O=X"), std::vector<VarnelConfig::TokenRecord>(1));
    EXPECT_EQ(config.getSplitType("O=X"), VarnelConfig::splitByNone);
  });
}

}  // namespace
