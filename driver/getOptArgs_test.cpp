#include "driver/getOptArgs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <ostream>

#include "testsupport/CapturedOutput.h"
#include "testsupport/FreshProcess.h"
#include "testsupport/TracesOn.h"
#include "testsupport/messageLine.h"

namespace {

using ::testing::Eq;
using ::testing::ExitedWithCode;
using Texts = std::vector<std::string>;

const char* const toolOptions = ":f:rd:I:";

/// Parses a command line, the program's name first. getopt starts anew.
Texts parse(Texts words, const std::string& options = toolOptions, int usageMessage = 5,
            int missingArgumentMessage = 46) {
  std::vector<char*> argv;
  for (std::string& word : words) {
    argv.push_back(&word[0]);
  }
  argv.push_back(nullptr);
  optind = 0;
  return getOptArgs(static_cast<int>(words.size()), argv.data(), options, 32, usageMessage,
                    missingArgumentMessage);
}

struct CommandLineRow {
  const char* name;
  Texts words;  // behind the program's name
  Texts slots;  // f, r, d, I
};

void PrintTo(const CommandLineRow& row, std::ostream* out) {
  *out << row.name;
}

class CommandLine : public ::testing::TestWithParam<CommandLineRow> {};

TEST_P(CommandLine, FillsTheSlots) {
  Texts words = {"/usr/bin/varnel"};
  words.insert(words.end(), GetParam().words.begin(), GetParam().words.end());
  const CapturedOutput output = captured([&] { EXPECT_EQ(parse(words), GetParam().slots); });
  EXPECT_EQ(output.out + output.err, "");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CommandLine,
    ::testing::Values(
        CommandLineRow{"NoOptions", {}, {"", "", "", ""}},
        CommandLineRow{"ConfigFile", {"-f", "my.conf"}, {"my.conf", "", "", ""}},
        CommandLineRow{"ConfigFileJoined", {"-fmy.conf"}, {"my.conf", "", "", ""}},
        CommandLineRow{"Recovery", {"-r"}, {"", "true", "", ""}},
        CommandLineRow{"RecoveryTwice", {"-r", "-r"}, {"", "true", "", ""}},
        CommandLineRow{"DebugLevel", {"-d", "abc"}, {"", "", "abc", ""}},
        CommandLineRow{"Instance", {"-I", "ldap"}, {"", "", "", "ldap"}},
        CommandLineRow{"All",
                       {"-I", "ldap", "-d", "3", "-r", "-f", "my.conf"},
                       {"my.conf", "true", "3", "ldap"}},
        CommandLineRow{"FlagAndOptionInOneWord", {"-rd3"}, {"", "true", "3", ""}},
        CommandLineRow{"LaterArgumentCounts", {"-f", "a", "-f", "b"}, {"b", "", "", ""}},
        CommandLineRow{"ArgumentIsMissingAtTheEnd", {"-f"}, {"", "", "", ""}},
        CommandLineRow{"DebugLevelIsMissingAtTheEnd", {"-r", "-d"}, {"", "true", "", ""}},
        CommandLineRow{"InstanceIsMissingAtTheEnd", {"-f", "a", "-I"}, {"a", "", "", ""}},
        CommandLineRow{"FlagBeforeAMissingArgument", {"-rf"}, {"", "true", "", ""}},
        CommandLineRow{"ArgumentWithAHyphenInside", {"-f", "a-f"}, {"a-f", "", "", ""}},
        CommandLineRow{
            "OperandsAreIgnored", {"x", "-r", "y", "-d", "3", "z"}, {"", "true", "3", ""}},
        CommandLineRow{
            "BehindTwoHyphensThereAreOperands", {"-r", "--", "-f", "a"}, {"", "true", "", ""}},
        CommandLineRow{"HyphenAloneIsAnOperand", {"-", "-r"}, {"", "true", "", ""}}),
    [](const ::testing::TestParamInfo<CommandLineRow>& row) { return row.param.name; });

TEST(GetOptArgs, OptionsBehindOperandsAreTakenWhateverTheEnvironmentSays) {
  inFreshProcess([] {
    ASSERT_EQ(::setenv("POSIXLY_CORRECT", "1", 1), 0);
    EXPECT_EQ(parse({"varnel", "operand", "-r"}), Texts({"", "true", "", ""}));
  });
}

TEST(GetOptArgs, SlotsAreInTheOrderOfTheLetters) {
  EXPECT_EQ(parse({"tool", "-cC", "-a", "-bB"}, ":ab:c:"), Texts({"true", "B", "C"}));
  EXPECT_EQ(parse({"tool"}, ":"), Texts());
}

TEST(GetOptArgs, TracesEachOption) {
  const TracesOn traces;
  const CapturedOutput output = captured([] { parse({"varnel", "-f", "a", "-r", "-d"}); });
  EXPECT_EQ(output.err,
            "c8010000 Next optflag: f\n"
            "c8010000 Next optarg: a\n"
            "c8010000 Next optflag: r\n"
            "c8010000 Next optarg: \n"
            "c8010000 Next optflag: :\n"
            "c8010000 Next optarg: \n");
}

/// Parses with both output streams in one.
void parseIntoStandardError(const Texts& words, int usageMessage = 5,
                            int missingArgumentMessage = 46) {
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  parse(words, toolOptions, usageMessage, missingArgumentMessage);
  std::_Exit(99);
}

TEST(GetOptArgsDeathTest, UnknownOptionPrintsTheUsageAndEndsWellInStatusZero) {
  EXPECT_EXIT(parseIntoStandardError({"/usr/local/bin/varnel", "-x"}), ExitedWithCode(0),
              Eq(messageLine(5, {"varnel"})));
}

TEST(GetOptArgsDeathTest, UnknownOptionBehindOthers) {
  EXPECT_EXIT(parseIntoStandardError({"dir/v", "-r", "-f", "a", "-h"}), ExitedWithCode(0),
              Eq(messageLine(5, {"v"})));
}

TEST(GetOptArgsDeathTest, LongOptionIsUnknown) {
  EXPECT_EXIT(parseIntoStandardError({"varnel", "--help"}), ExitedWithCode(0),
              Eq(messageLine(5, {"varnel"})));
}

TEST(GetOptArgsDeathTest, ColonIsNoOption) {
  EXPECT_EXIT(parseIntoStandardError({"varnel", "-:"}), ExitedWithCode(0),
              Eq(messageLine(5, {"varnel"})));
}

struct MissingArgumentRow {
  const char* name;
  Texts words;
  const char* letter;
};

void PrintTo(const MissingArgumentRow& row, std::ostream* out) {
  *out << row.name;
}

class MissingArgumentDeathTest : public ::testing::TestWithParam<MissingArgumentRow> {};

TEST_P(MissingArgumentDeathTest, EndsInStatusOne) {
  EXPECT_EXIT(parseIntoStandardError(GetParam().words), ExitedWithCode(1),
              Eq(messageLine(46, {GetParam().letter})));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, MissingArgumentDeathTest,
    ::testing::Values(MissingArgumentRow{"AnotherOptionFollows", {"varnel", "-f", "-r"}, "f"},
                      MissingArgumentRow{"HyphenFollows", {"varnel", "-I", "-"}, "I"},
                      MissingArgumentRow{"TwoHyphensFollow", {"varnel", "-d", "--"}, "d"},
                      MissingArgumentRow{"NegativeNumberFollows", {"varnel", "-d", "-1"}, "d"},
                      MissingArgumentRow{"EmptyTextFollows", {"varnel", "-f", ""}, "f"},
                      MissingArgumentRow{"JoinedHyphen", {"varnel", "-f-x"}, "f"},
                      MissingArgumentRow{"SecondOfTwo", {"varnel", "-f", "a", "-f", "-r"}, "f"}),
    [](const ::testing::TestParamInfo<MissingArgumentRow>& row) { return row.param.name; });

TEST(GetOptArgsDeathTest, PrintsTheMessagesThatItIsTold) {
  EXPECT_EXIT(parseIntoStandardError({"varnel", "-x"}, 1, 2), ExitedWithCode(0),
              Eq(messageLine(1, {"varnel"})));
  EXPECT_EXIT(parseIntoStandardError({"varnel", "-f", "-r"}, 1, 2), ExitedWithCode(1),
              Eq(messageLine(2, {"f"})));
}

TEST(GetOptArgsDeathTest, TracesWhyItEnds) {
  const TracesOn traces;
  EXPECT_EXIT(parseIntoStandardError({"varnel", "-x"}), ExitedWithCode(0),
              Eq("c8010000 Next optflag: ?\n"
                 "c8010000 Next optarg: \n"
                 "c8110000 Printing tool options:\n" +
                 messageLine(5, {"varnel"})));
  EXPECT_EXIT(parseIntoStandardError({"varnel", "-f", "-r"}), ExitedWithCode(1),
              Eq("c8010000 Next optflag: f\n"
                 "c8010000 Next optarg: -r\n"
                 "c8110000 Error: option -f requires an argument.\n" +
                 messageLine(46, {"f"})));
}

TEST(IsArgOption, LooksAtTheFirstCharacter) {
  EXPECT_TRUE(IsArgOption("-"));
  EXPECT_TRUE(IsArgOption("-r"));
  EXPECT_TRUE(IsArgOption("--"));
  EXPECT_FALSE(IsArgOption(""));
  EXPECT_FALSE(IsArgOption("r-"));
  EXPECT_FALSE(IsArgOption(" -r"));
}

TEST(GetBasename, IsThePartBehindTheLastSlash) {
  EXPECT_EQ(getBasename("varnel"), "varnel");
  EXPECT_EQ(getBasename("/usr/bin/varnel"), "varnel");
  EXPECT_EQ(getBasename("./varnel"), "varnel");
  EXPECT_EQ(getBasename("/varnel"), "varnel");
  EXPECT_EQ(getBasename("bin/"), "");
  EXPECT_EQ(getBasename("/"), "");
  EXPECT_EQ(getBasename(""), "");
}

}  // namespace
