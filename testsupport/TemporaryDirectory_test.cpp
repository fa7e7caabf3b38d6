#include "testsupport/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>

namespace {

bool exists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

TEST(TemporaryDirectory, IsItsOwnAndGoesWithAllThatIsInIt) {
  const TemporaryDirectory other;
  other.write("file", "other");
  std::string name;
  {
    const TemporaryDirectory directory;
    name = directory.name();
    EXPECT_NE(name, other.name());
    directory.write("file", "");
    directory.write("one/two/file", "");
    ASSERT_EQ(::symlink(other.name().c_str(), directory.path("link").c_str()), 0);
    EXPECT_TRUE(exists(name));
  }
  EXPECT_FALSE(exists(name));
  EXPECT_EQ(other.read("file"), "other");
}

TEST(TemporaryDirectory, ReadsWhatItWrote) {
  const TemporaryDirectory directory;
  const std::string content("\0a\r\n", 4);
  EXPECT_EQ(directory.write("file", content), directory.name() + "/file");
  EXPECT_EQ(directory.read("file"), content);
  directory.write("file", "b");
  EXPECT_EQ(directory.read("file"), "b");
}

TEST(TemporaryDirectory, MakesTheDirectoriesOnTheWay) {
  const TemporaryDirectory directory;
  directory.write("one/two/file", "a");
  directory.write("one/two/more", "b");
  EXPECT_EQ(directory.read("one/two/file"), "a");
  EXPECT_EQ(directory.read("one/two/more"), "b");
}

TEST(TemporaryDirectory, TellsWhatIsThere) {
  const TemporaryDirectory directory;
  directory.write("empty", "");
  ASSERT_EQ(::symlink("missing", directory.path("link").c_str()), 0);
  EXPECT_TRUE(directory.has("empty"));
  EXPECT_TRUE(directory.has("link"));
  EXPECT_FALSE(directory.has("missing"));
  EXPECT_EQ(directory.read("empty"), "");
  EXPECT_EQ(directory.read("missing"), "(no file)");
}

TEST(TemporaryDirectory, CanStandAtAPlaceThatIsNamed) {
  const TemporaryDirectory around;
  const std::string place = around.path("some/where");
  around.write("some/where/old", "");
  {
    const TemporaryDirectory directory(place);
    EXPECT_EQ(directory.name(), place);
    EXPECT_FALSE(directory.has("old"));
    directory.write("new", "");
    EXPECT_TRUE(around.has("some/where/new"));
  }
  EXPECT_FALSE(exists(place));
  EXPECT_TRUE(around.has("some"));
}

TEST(TemporaryDirectory, WhatCannotBeWrittenThrows) {
  const TemporaryDirectory directory;
  directory.write("file", "");
  EXPECT_THROW(directory.write("file/below", ""), std::runtime_error);
  EXPECT_THROW(const TemporaryDirectory below(directory.path("file/below")), std::runtime_error);
}

}  // namespace
