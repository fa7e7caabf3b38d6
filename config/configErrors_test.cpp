#include "config/configErrors.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <type_traits>
#include <vector>

#include "config/VarnelConfigException.h"
#include "testsupport/CapturedOutput.h"
#include "testsupport/messageLine.h"

namespace {

struct ErrorRow {
  const char* name;
  std::function<void()> call;
  int line;
  const char* text;
  int number;
  std::vector<std::string> arguments;
};

void PrintTo(const ErrorRow& row, std::ostream* out) {
  *out << row.name;
}

class ConfigError : public ::testing::TestWithParam<ErrorRow> {};

TEST_P(ConfigError, PrintsItsMessageAndThrows) {
  const ErrorRow& row = GetParam();
  bool threw = false;
  const CapturedOutput output = captured([&] {
    try {
      row.call();
    } catch (const VarnelConfigException& failure) {
      threw = true;
      EXPECT_EQ(failure.line(), row.line);
      EXPECT_EQ(failure.message(), row.text);
    }
  });
  EXPECT_TRUE(threw);
  EXPECT_EQ(output.err, messageLine(row.number, row.arguments));
  EXPECT_EQ(output.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ConfigError,
    ::testing::Values(ErrorRow{"MultipleKey",
                               [] { throwMultipleKeyError("logfile", 7); },
                               7,
                               "error: \"logfile\" configured multiple times",
                               48,
                               {"logfile", "7"}},
                      ErrorRow{"MultipleValue",
                               [] { throwMultipleValueError("basedn", "O=X", 12); },
                               12,
                               "error: \"O=X\" is a duplicate value for option \"basedn\"",
                               17,
                               {"basedn", "O=X", "12"}},
                      ErrorRow{"IllegalKey",
                               [] { throwIllegalKeyError("colour", 3, ""); },
                               3,
                               "error: \"colour\" not allowed",
                               4,
                               {"3"}},
                      ErrorRow{"IllegalKeyOfASplitMethod",
                               [] { throwIllegalKeyError("colour", 3, "rdnhash"); },
                               3,
                               "error: \"colour\" not allowed for SplitBy rdnhash",
                               19,
                               {"colour", "rdnhash", "3"}},
                      ErrorRow{"IllegalValue",
                               [] { throwIllegalValueError("url", "http://x", 9); },
                               9,
                               "error: \"http://x\" not allowed for option \"url\"",
                               6,
                               {"http://x", "url"}},
                      ErrorRow{"EmptyIllegalValue",
                               [] { throwIllegalValueError("url", "", 9); },
                               9,
                               "error: \"\" not allowed for option \"url\"",
                               6,
                               {"", "url"}},
                      ErrorRow{"MissingKeyAtALine",
                               [] { throwMissingKeyError("file", 20); },
                               20,
                               "error: fileis missing in configuration file on line number 20",
                               51,
                               {"file", "20"}},
                      ErrorRow{"MissingKey",
                               [] { throwMissingKeyError("basedn", 0); },
                               0,
                               "error: basednis missing in configuration file",
                               49,
                               {"basedn"}},
                      ErrorRow{"UnableToOpenFile",
                               [] { throwUnableToOpenFileError("/d/in.ldif", 4); },
                               4,
                               "error: /d/in.ldifdoes not exist or cannot be opened",
                               7,
                               {"/d/in.ldif", "4"}},
                      ErrorRow{"UnableToOpenFileOfNoLine",
                               [] { throwUnableToOpenFileError("parent.ldif", 0); },
                               0,
                               "error: parent.ldifdoes not exist or cannot be opened",
                               7,
                               {"parent.ldif", "0"}},
                      ErrorRow{"FileExists",
                               [] { throwFileExistsError("/d/a.ldif", 5); },
                               5,
                               "error: /d/a.ldiffile exists.  Cannot overwrite.",
                               8,
                               {"/d/a.ldif"}}),
    [](const ::testing::TestParamInfo<ErrorRow>& row) { return row.param.name; });

TEST(VarnelConfigException, IsAnInputFileException) {
  EXPECT_TRUE((std::is_base_of<InputFileException, VarnelConfigException>::value));
  EXPECT_TRUE(std::has_virtual_destructor<VarnelConfigException>::value);
}

}  // namespace
