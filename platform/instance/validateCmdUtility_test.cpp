#include "platform/instance/validateCmdUtility.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "platform/instance/readInstanceConfiguration.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/InstanceDirectory.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

struct Result {
  bool valid;
  std::string instance;
  std::string configFile;  ///< empty for a null pointer
  std::string messages;
};

Result validate(const std::string& name) {
  char* instance = strdup(name.c_str());
  char* configFile = nullptr;
  int status = -1;
  const CapturedOutput output =
      captured([&] { status = validateCmdUtility(&instance, &configFile, 1, 0, 0, 0); });
  Result result{status == 0, instance, configFile != nullptr ? configFile : "", output.err};
  std::free(instance);
  std::free(configFile);
  return result;
}

class ValidateCmdUtility : public ::testing::Test {
 protected:
  InstanceDirectory instance_;
};

TEST_F(ValidateCmdUtility, AcceptsADirectoryWithAGoodConfiguration) {
  instance_.write("a.schema");
  instance_.write("more/b.ldif");
  instance_.configure("# comment\n\n  \t\nsystemschema: a.schema\r\n UserSchema :  more  \n");
  const Result result = validate(instance_.path());
  EXPECT_TRUE(result.valid);
  EXPECT_EQ(result.instance, instance_.path());
  EXPECT_EQ(result.configFile, instance_.path("instance.conf"));
  EXPECT_EQ(result.messages, "");
}

TEST_F(ValidateCmdUtility, AcceptsAnEmptyConfiguration) {
  instance_.configure("");
  EXPECT_TRUE(validate(instance_.path()).valid);
  EXPECT_TRUE(validate(instance_.path() + "/").valid);
}

TEST_F(ValidateCmdUtility, FindsAnInstanceByNameInTheRegistry) {
  const InstanceDirectory registered(QuorInstanceUtils::instanceRegistry() + "/Some-1_x.y");
  registered.write("a.schema");
  registered.configure("systemschema: a.schema\n");
  const Result result = validate("Some-1_x.y");
  EXPECT_TRUE(result.valid) << result.messages;
  EXPECT_EQ(result.configFile, registered.path("instance.conf"));
}

TEST_F(ValidateCmdUtility, ReportsANameThatIsNotRegistered) {
  const Result result = validate("nowhere");
  EXPECT_FALSE(result.valid);
  EXPECT_EQ(result.configFile, "");
  EXPECT_THAT(result.messages,
              StartsWith("VNL033002E: Instance nowhere: there is no directory " +
                         QuorInstanceUtils::instanceRegistry() + "/nowhere, or it"));
}

TEST_F(ValidateCmdUtility, ReportsAPathThatIsNoDirectory) {
  EXPECT_THAT(validate(instance_.path("none")).messages, StartsWith("VNL033002E: "));
  const Result file = validate(instance_.write("file"));
  EXPECT_FALSE(file.valid);
  EXPECT_THAT(file.messages, AllOf(StartsWith("VNL033002E: "), HasSubstr(instance_.path("file"))));
}

TEST_F(ValidateCmdUtility, NullPointerIsABadName) {
  char* instance = nullptr;
  char* configFile = nullptr;
  const CapturedOutput output =
      captured([&] { EXPECT_NE(validateCmdUtility(&instance, &configFile, 1, 0, 0, 0), 0); });
  EXPECT_THAT(output.err, StartsWith("VNL033001E: "));
}

struct NameRow {
  const char* label;
  std::string name;
  bool good;
};

class InstanceName : public ::testing::TestWithParam<NameRow> {};

/// No good name of the table is registered, so all of them are refused, but for different reasons.
TEST_P(InstanceName, IsJudged) {
  EXPECT_EQ(QuorInstanceUtils::isInstanceName(GetParam().name), GetParam().good);
  const Result result = validate(GetParam().name);
  EXPECT_FALSE(result.valid);
  if (GetParam().good) {
    EXPECT_THAT(result.messages, StartsWith("VNL033002E: Instance " + GetParam().name + ":"));
  } else {
    EXPECT_THAT(result.messages, StartsWith("VNL033001E: \"" + GetParam().name + "\" is not"));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, InstanceName,
    ::testing::Values(NameRow{"Letters", "none", true}, NameRow{"OneDigit", "7", true},
                      NameRow{"EverySign", "n-._", true}, NameRow{"LeadingHyphen", "-n", true},
                      NameRow{"LongestOf64", std::string(64, 'n'), true},
                      NameRow{"TooLongOf65", std::string(65, 'n'), false},
                      NameRow{"Empty", "", false}, NameRow{"Dot", ".", false},
                      NameRow{"DotDot", "..", false}, NameRow{"HiddenFile", ".n", false},
                      NameRow{"Blank", "a b", false}, NameRow{"Dollar", "a$b", false},
                      NameRow{"Umlaut", "\xC3\xA4", false}),
    [](const auto& row) { return std::string(row.param.label); });

struct FaultRow {
  const char* label;
  const char* configuration;
  const char* message;  ///< with @ for the instance's directory
};

/// The directory holds good.schema, the directories empty and broken, and a pipe; broken holds a
/// symbolic link to itself.
const FaultRow faultRows[] = {
    {"NoColon", "systemschema good.schema\n",
     "VNL033004E: Instance @, file @/instance.conf, line 1: \"systemschema good.schema\""},
    {"EmptyKey", "\n: good.schema\n", "VNL033004E: Instance @, file @/instance.conf, line 2:"},
    {"UnknownKey", "# a\nsystemschema: good.schema\nschema: good.schema\n",
     "VNL033005E: Instance @, file @/instance.conf, line 3: \"schema\" is not a key"},
    {"UnknownKeyAsWritten", "SystemSchemas: good.schema\n",
     "line 1: \"SystemSchemas\" is not a key"},
    {"NoValue", "userschema:  \n",
     "VNL033006E: Instance @, file @/instance.conf, line 1: the key \"userschema\""},
    {"MissingFile", "systemschema: nix.schema\n",
     "VNL033007E: Instance @, file @/instance.conf, line 1: the schema path cannot be read: "
     "systemschema: @/nix.schema: No such file or directory"},
    {"MissingAbsoluteFile", "systemschema: /nix/nix\n",
     "line 1: the schema path cannot be read: "
     "systemschema: /nix/nix: No such file or directory"},
    {"NotAFile", "userschema: pipe\n", "@/pipe: it is not a regular file"},
    {"UnreadableFileInADirectory", "userschema: broken\n", "@/broken/loop.ldif: Too many levels"},
    {"SecondLineIsReportedToo", "x: y\nuserschema: nix\n",
     "VNL033007E: Instance @, file @/instance.conf, line 2:"},
};

class InstanceFaultOf : public ::testing::TestWithParam<FaultRow> {};

TEST_P(InstanceFaultOf, TheConfigurationIsReported) {
  const InstanceDirectory instance;
  instance.write("good.schema");
  std::filesystem::create_directory(instance.path("broken"));
  ASSERT_EQ(symlink("loop.ldif", instance.path("broken/loop.ldif").c_str()), 0);
  ASSERT_EQ(mkfifo(instance.path("pipe").c_str(), 0600), 0);
  instance.configure(GetParam().configuration);
  std::string expected = GetParam().message;
  for (std::size_t at = expected.find('@'); at != std::string::npos; at = expected.find('@')) {
    expected.replace(at, 1, instance.path());
  }
  const Result result = validate(instance.path());
  EXPECT_FALSE(result.valid);
  EXPECT_THAT(result.messages, HasSubstr(expected));
  EXPECT_EQ(result.configFile, instance.path("instance.conf"));
}

INSTANTIATE_TEST_SUITE_P(Rows, InstanceFaultOf, ::testing::ValuesIn(faultRows),
                         [](const auto& row) { return std::string(row.param.label); });

TEST_F(ValidateCmdUtility, ReportsEveryFaultOfAFile) {
  instance_.configure("a: b\nuserschema:\nc\nsystemschema: nix\n");
  const Result result = validate(instance_.path());
  EXPECT_FALSE(result.valid);
  EXPECT_EQ(std::count(result.messages.begin(), result.messages.end(), '\n'), 4);
}

TEST_F(ValidateCmdUtility, ReportsNulBytesAndBinaryData) {
  instance_.configure(std::string("systemschema: \0good\n", 20));
  EXPECT_THAT(validate(instance_.path()).messages, StartsWith("VNL033004E: "));
  std::string bytes;
  for (int i = 0; i < 4096; ++i) {
    bytes += static_cast<char>(i * 37 % 256);
  }
  instance_.configure(bytes);
  EXPECT_FALSE(validate(instance_.path()).valid);
}

TEST_F(ValidateCmdUtility, ReportsAConfigurationFileThatCannotBeRead) {
  const std::string file = instance_.path("instance.conf");
  EXPECT_THAT(validate(instance_.path()).messages,
              StartsWith("VNL033003E: Instance " + instance_.path() + ": its configuration file " +
                         file + " cannot be read: No such file or directory"));
  ASSERT_EQ(symlink("instance.conf", file.c_str()), 0);
  EXPECT_FALSE(validate(instance_.path()).valid);
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  const Result directory = validate(instance_.path());
  EXPECT_FALSE(directory.valid);
  EXPECT_THAT(directory.messages, HasSubstr("it is a directory"));
}

/// The memory of this process is a regular file that opens, but nothing is at its first address.
TEST_F(ValidateCmdUtility, ReportsAConfigurationFileWhoseReadingFails) {
  const std::string file = instance_.path("instance.conf");
  std::filesystem::create_symlink("/proc/self/mem", file);
  const Result result = validate(instance_.path());
  EXPECT_FALSE(result.valid);
  EXPECT_THAT(result.messages,
              StartsWith("VNL033003E: Instance " + instance_.path() + ": its configuration file " +
                         file + " cannot be read: Input/output error."));
}

TEST_F(ValidateCmdUtility, PassesOverADirectoryThatIsNamedLikeASchemaFile) {
  instance_.write("schemas/a.schema");
  instance_.write("schemas/x.schema/inner.schema");
  instance_.configure("systemschema: schemas\n");
  const Result result = validate(instance_.path());
  EXPECT_TRUE(result.valid);
  EXPECT_EQ(result.messages, "");
}

TEST_F(ValidateCmdUtility, WarnsOfADirectoryWithoutSchemaFiles) {
  instance_.write("empty/README");
  instance_.configure("systemschema: empty\n");
  const Result result = validate(instance_.path());
  EXPECT_TRUE(result.valid);
  EXPECT_THAT(result.messages, AllOf(StartsWith("VNL033008W: "), HasSubstr("line 1"),
                                     HasSubstr(instance_.path("empty"))));
}

TEST_F(ValidateCmdUtility, AcceptsTheExample) {
  const Result result = validate(VARNEL_SOURCE_DIRECTORY "/examples/instance");
  EXPECT_TRUE(result.valid) << result.messages;
  EXPECT_EQ(result.messages, "");
}

}  // namespace
