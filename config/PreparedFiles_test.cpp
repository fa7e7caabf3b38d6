#include "config/PreparedFiles.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <ostream>
#include <vector>

#include "config/VarnelConfigException.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/TemporaryDirectory.h"
#include "testsupport/messageLine.h"

namespace {

/// The step under test, on the file of that name, named in line 7.
using Step = std::function<void(const std::string& name, PreparedFiles& files)>;

/// What a step makes of a file. `content` is that of the file before, a null pointer for none;
/// `after` is what is read afterwards. `message` is the number of the message that is printed, 0
/// for none; `fault` is the exception's text, "@" standing for the name, or empty for none.
struct Row {
  const char* name;
  Step step;
  bool recovery;
  const char* content;
  const char* after;
  int message;
  const char* fault;
  int line;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

const char* const none = "(no file)";
const char* const exists = "error: @file exists.  Cannot overwrite.";
const char* const missing = "error: @does not exist or cannot be opened";

class FileOfTheConfiguration : public ::testing::TestWithParam<Row> {
 protected:
  /// The text of the exception, "" for none.
  std::string runStep(const std::string& name) {
    const Row& row = GetParam();
    std::string fault;
    output_ = captured([&] {
      try {
        PreparedFiles files(row.recovery);
        row.step(name, files);
      } catch (const VarnelConfigException& failure) {
        fault = failure.message();
        EXPECT_EQ(failure.line(), row.line);
      }
    });
    return fault;
  }

  TemporaryDirectory directory_;
  CapturedOutput output_;
};

TEST_P(FileOfTheConfiguration, IsPreparedOrRefused) {
  const Row& row = GetParam();
  if (row.content != nullptr) {
    directory_.write("f", row.content);
  }
  const std::string name = directory_.path("f");
  std::string fault = row.fault;
  if (fault.find('@') != std::string::npos) {
    fault.replace(fault.find('@'), 1, name);
  }
  EXPECT_EQ(runStep(name), fault);
  EXPECT_EQ(output_.out, "");
  const std::vector<std::string> arguments =
      row.message == 7 ? std::vector<std::string>{name, std::to_string(row.line)}
                       : std::vector<std::string>{name};
  EXPECT_EQ(output_.err, row.message != 0 ? messageLine(row.message, arguments) : "");
  EXPECT_EQ(directory_.read("f"), row.after);
}

std::string nameOfRow(const ::testing::TestParamInfo<Row>& row) {
  return row.param.name;
}

const Step output = [](const std::string& name, PreparedFiles& files) {
  files.prepareOutputFile(name, 7);
};
const Step server = [](const std::string& name, PreparedFiles& files) {
  files.prepareServerFile(name, 7);
};
const Step byDefault = [](const std::string& name, PreparedFiles& files) {
  files.prepareDefaultOutputFile(name);
};
const Step log = [](const std::string& name, PreparedFiles& files) {
  files.prepareLogFile(name, 7);
};
const Step triedLog = [](const std::string& name, PreparedFiles& files) { files.tryLogFile(name); };
const Step input = [](const std::string& name, PreparedFiles& files) {
  files.requireInputFile(name, 7);
};
const Step directory = [](const std::string& name, PreparedFiles& files) {
  files.requireDirectory(name, 7);
};

INSTANTIATE_TEST_SUITE_P(
    Rows, FileOfTheConfiguration,
    ::testing::Values(Row{"Output", output, false, nullptr, "", 0, "", 0},
                      Row{"OutputThatExists", output, false, "old", "old", 8, exists, 7},
                      Row{"OutputInRecovery", output, true, "old", "old", 0, "", 0},
                      Row{"OutputMissingInRecovery", output, true, nullptr, none, 7, missing, 7},
                      Row{"Server", server, false, nullptr, "", 0, "", 0},
                      Row{"ServerThatExists", server, false, "old", "old", 8, exists, 7},
                      Row{"ServerInRecoveryIsEmptied", server, true, "old", "", 0, "", 0},
                      Row{"ServerMissingInRecovery", server, true, nullptr, none, 7, missing, 7},
                      Row{"Default", byDefault, false, nullptr, "version: 1\n\n", 0, "", 0},
                      Row{"DefaultThatExists", byDefault, false, "old", "old", 8, exists, 0},
                      Row{"DefaultInRecovery", byDefault, true, "old", "old", 0, "", 0},
                      Row{"DefaultMissingInRecovery", byDefault, true, nullptr, none, 7, missing,
                          0},
                      Row{"Log", log, false, nullptr, "", 0, "", 0},
                      Row{"LogThatExistsStays", log, false, "old", "old", 0, "", 0},
                      Row{"LogInRecovery", log, true, "old", "old", 0, "", 0},
                      Row{"LogMissingInRecovery", log, true, nullptr, none, 0, "@", 7},
                      Row{"TriedLog", triedLog, false, nullptr, "", 0, "", 0},
                      Row{"TriedLogStays", triedLog, false, "old", "old", 0, "", 0},
                      Row{"Input", input, false, "old", "old", 0, "", 0},
                      Row{"InputMissing", input, false, nullptr, none, 7, missing, 7},
                      Row{"FileAsDirectory", directory, false, "old", "old", 13, "@", 7},
                      Row{"DirectoryMissing", directory, false, nullptr, none, 13, "@", 7}),
    nameOfRow);

/// What cannot be created, since its directory is missing.
class FileWithoutADirectory : public FileOfTheConfiguration {};

TEST_P(FileWithoutADirectory, IsRefused) {
  const Row& row = GetParam();
  const std::string name = directory_.path("missing/f");
  std::string fault = row.fault;
  if (fault.find('@') != std::string::npos) {
    fault.replace(fault.find('@'), 1, name);
  }
  EXPECT_EQ(runStep(name), fault);
  EXPECT_EQ(output_.err, row.message != 0 ? messageLine(row.message, {name, "7"}) : "");
  EXPECT_FALSE(directory_.has("missing"));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FileWithoutADirectory,
    ::testing::Values(Row{"Output", output, false, nullptr, none, 7, missing, 7},
                      Row{"Server", server, false, nullptr, none, 7, missing, 7},
                      Row{"Default", byDefault, false, nullptr, none, 0,
                          "error opening @: permission denied or does not exist", 0},
                      Row{"LogIsNoFaultYet", log, false, nullptr, none, 0, "", 0},
                      Row{"TriedLog", triedLog, false, nullptr, none, 0, "@", 0}),
    nameOfRow);

/// A step on a file that is the input, an output or the log under another name.
struct TakenRow {
  const char* name;
  Step step;
  bool recovery;
  FileRole role;  // that the step gives to the file
  const char* key;
  int line;
};

void PrintTo(const TakenRow& row, std::ostream* out) {
  *out << row.name;
}

class FileWithARole : public ::testing::TestWithParam<TakenRow> {};

TEST_P(FileWithARole, IsAnIllegalValueAndStaysAsItIs) {
  const TakenRow& row = GetParam();
  for (const FileRole role : {FileRole::input, FileRole::output, FileRole::log}) {
    if (role == row.role && role != FileRole::output) {
      continue;  // there is but one of these
    }
    const TemporaryDirectory place;
    const std::string name = place.write("f", "old");
    ASSERT_EQ(::link(name.c_str(), place.path("link").c_str()), 0);
    PreparedFiles files(row.recovery);
    files.add(place.path("link"), role);
    const CapturedOutput printed = captured([&] {
      try {
        row.step(name, files);
        ADD_FAILURE() << "no exception";
      } catch (const VarnelConfigException& failure) {
        EXPECT_EQ(failure.line(), row.line);
      }
    });
    EXPECT_EQ(printed.err, messageLine(6, {name, row.key}));
    EXPECT_EQ(place.read("f"), "old");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FileWithARole,
    ::testing::Values(TakenRow{"Output", output, true, FileRole::output, "defaultoutputfile", 7},
                      TakenRow{"Server", server, true, FileRole::output, "file", 7},
                      TakenRow{"Default", byDefault, true, FileRole::output, "defaultoutputfile",
                               0},
                      TakenRow{"Log", log, false, FileRole::log, "logfile", 7},
                      TakenRow{"TriedLog", triedLog, false, FileRole::log, "logfile", 0},
                      TakenRow{"Input", input, false, FileRole::input, "inputfile", 7}),
    [](const ::testing::TestParamInfo<TakenRow>& row) { return std::string(row.param.name); });

TEST(FilesOfTheRun, HaveARoleOnceTheyArePrepared) {
  const TemporaryDirectory some;
  some.write("in", "");
  PreparedFiles files(false);
  files.requireInputFile(some.path("in"), 1);
  files.prepareOutputFile(some.path("rest"), 2);
  files.prepareServerFile(some.path("one"), 3);
  files.prepareLogFile(some.path("log"), 4);
  files.prepareDefaultOutputFile(some.path("parent"));
  const auto isRefusedAsLog = [&](const std::string& name) {
    bool refused = false;
    captured([&] {
      try {
        files.tryLogFile(some.path(name));
      } catch (const VarnelConfigException&) {
        refused = true;
      }
    });
    return refused;
  };
  for (const char* const name : {"in", "rest", "one", "parent"}) {
    EXPECT_TRUE(isRefusedAsLog(name)) << name;
  }
  EXPECT_FALSE(isRefusedAsLog("log"));
  ASSERT_EQ(::link(some.path("log").c_str(), some.path("link").c_str()), 0);
  const CapturedOutput printed = captured(
      [&] { EXPECT_THROW(files.requireInputFile(some.path("link"), 5), VarnelConfigException); });
  EXPECT_EQ(printed.err, messageLine(6, {some.path("link"), "inputfile"}));
}

TEST(RequireDirectory, AcceptsOne) {
  const TemporaryDirectory some;
  PreparedFiles files(false);
  const CapturedOutput printed =
      captured([&] { EXPECT_NO_THROW(files.requireDirectory(some.name(), 7)); });
  EXPECT_EQ(printed.out + printed.err, "");
}

}  // namespace
