#include "config/addBaseDirToFilename.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

struct NameRow {
  const char* title;
  const char* name;
  const char* baseDir;
  const char* result;
};

void PrintTo(const NameRow& row, std::ostream* out) {
  *out << row.title;
}

class FilenameOf : public ::testing::TestWithParam<NameRow> {};

TEST_P(FilenameOf, GetsTheDirectoryWhereItHasNoSlash) {
  std::string name = GetParam().name;
  addBaseDirToFilename(name, GetParam().baseDir);
  EXPECT_EQ(name, GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, FilenameOf,
    ::testing::Values(NameRow{"Bare", "a.ldif", "/data", "/data/a.ldif"},
                      NameRow{"Relative", "x/a.ldif", "/data", "x/a.ldif"},
                      NameRow{"Absolute", "/tmp/a.ldif", "/data", "/tmp/a.ldif"},
                      NameRow{"DotSlash", "./a.ldif", "/data", "./a.ldif"},
                      NameRow{"SlashAtTheEnd", "a/", "/data", "a/"},
                      NameRow{"EmptyDirectory", "a.ldif", "", "/a.ldif"},
                      NameRow{"DirectoryWithASlash", "a.ldif", "/data/", "/data//a.ldif"},
                      NameRow{"EmptyName", "", "/data", "/data/"}),
    [](const ::testing::TestParamInfo<NameRow>& row) { return row.param.title; });

char lowered(char c) {
  toLower(c);
  return c;
}

TEST(ToLower, LowersAsciiLettersAlone) {
  EXPECT_EQ(lowered('A'), 'a');
  EXPECT_EQ(lowered('Z'), 'z');
  EXPECT_EQ(lowered('a'), 'a');
  EXPECT_EQ(lowered('@'), '@');
  EXPECT_EQ(lowered('['), '[');
  EXPECT_EQ(lowered('\xc9'), '\xc9');
  EXPECT_EQ(lowered('\xff'), '\xff');
}

TEST(WhitespacePredicate, KnowsTheSixWhiteSpaces) {
  int count = 0;
  for (int c = 0; c < 256; ++c) {
    count += WhitespacePredicate()(static_cast<char>(c)) ? 1 : 0;
  }
  EXPECT_EQ(count, 6);
  for (const char c : {' ', '\t', '\n', '\v', '\f', '\r'}) {
    EXPECT_TRUE(WhitespacePredicate()(c)) << static_cast<int>(c);
  }
}

}  // namespace
