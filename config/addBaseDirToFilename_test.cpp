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

}  // namespace
