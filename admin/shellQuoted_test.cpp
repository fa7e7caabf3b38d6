#include "admin/shellQuoted.h"

#include <gtest/gtest.h>

namespace {

struct Row {
  const char* text;
  const char* quoted;
};

class ShellQuoted : public ::testing::TestWithParam<Row> {};

TEST_P(ShellQuoted, IsOneWord) {
  EXPECT_EQ(shellQuoted(GetParam().text), GetParam().quoted);
}

INSTANTIATE_TEST_SUITE_P(Rows, ShellQuoted,
                         ::testing::Values(Row{"/a/b_c-1.ldif", "/a/b_c-1.ldif"}, Row{"", "''"},
                                           Row{"a b", "'a b'"}, Row{"it's", "'it'\\''s'"},
                                           Row{"$HOME", "'$HOME'"}, Row{"~", "'~'"},
                                           Row{"a\\b", "'a\\b'"}, Row{"a\nb", "$'a\\012b'"},
                                           Row{"it's\x1B\\", "$'it\\'s\\033\\\\'"},
                                           Row{"\x7F", "$'\\177'"}, Row{"\xC3\xA4", "'\xC3\xA4'"}));

}  // namespace
