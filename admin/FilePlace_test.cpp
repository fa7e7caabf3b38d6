#include "admin/FilePlace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "testsupport/TemporaryDirectory.h"

namespace {

class FilePlaceTest : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return directory_.path(name); }
  void link(const std::string& target, const std::string& name) const {
    ASSERT_EQ(::symlink(target.c_str(), path(name).c_str()), 0);
  }
  bool areOne(const std::string& a, const std::string& b) const {
    return FilePlace(path(a)) == FilePlace(path(b));
  }

  TemporaryDirectory directory_;
};

TEST_F(FilePlaceTest, KindsOfFiles) {
  directory_.write("file", "");
  ::mkfifo(path("fifo").c_str(), S_IRUSR);
  link("file", "link");
  link("nothing", "broken");
  EXPECT_EQ(kindOf(path("file")), FileKind::regular);
  EXPECT_EQ(kindOf(path("link")), FileKind::regular);
  EXPECT_EQ(kindOf(path("fifo")), FileKind::stream);
  EXPECT_EQ(kindOf(path(".")), FileKind::directory);
  EXPECT_EQ(kindOf("/dev/null"), FileKind::stream);
  EXPECT_EQ(kindOf("/dev/stdin"), FileKind::stream);
  EXPECT_EQ(kindOf(path("broken")), FileKind::missing);
  EXPECT_EQ(errno, 0);
  EXPECT_EQ(kindOf(path("file/x")), FileKind::missing);
  EXPECT_EQ(errno, 0);
}

TEST_F(FilePlaceTest, ANameThatLeadsInACircleIsNotToldByTheSystem) {
  link("b", "a");
  link("a", "b");
  EXPECT_EQ(kindOf(path("a")), FileKind::missing);
  EXPECT_EQ(errno, ELOOP);
}

TEST_F(FilePlaceTest, PartsOfNames) {
  EXPECT_EQ(directoryOf("/a/b"), "/a");
  EXPECT_EQ(directoryOf("/b"), "/");
  EXPECT_EQ(directoryOf("b"), ".");
  EXPECT_EQ(lastPartOf("/a/b"), "b");
  EXPECT_EQ(lastPartOf("b"), "b");
}

TEST_F(FilePlaceTest, LinksLeadToTheFileThatWouldBeCreated) {
  link("sub/x", "a");
  link(path("a"), "b");
  EXPECT_EQ(behindLinks(path("b")), path("sub/x"));
  EXPECT_EQ(behindLinks(path("other")), path("other"));
}

TEST_F(FilePlaceTest, NamesOfOneFile) {
  directory_.write("sub/file", "");
  link("sub", "way");
  ASSERT_EQ(::link(path("sub/file").c_str(), path("hard").c_str()), 0);
  EXPECT_TRUE(areOne("sub/file", "way/file"));
  EXPECT_TRUE(areOne("sub/file", "hard"));
  EXPECT_FALSE(areOne("sub/file", "sub"));
}

TEST_F(FilePlaceTest, NamesOfOneFileThatIsYetToBeCreated) {
  directory_.write("sub/file", "");
  link("sub", "way");
  link("sub/new", "link");
  EXPECT_TRUE(areOne("sub/new", "way/new"));
  EXPECT_TRUE(areOne("sub/new", "link"));
  EXPECT_TRUE(areOne("new", "./new"));
  EXPECT_FALSE(areOne("new", "sub/new"));
  EXPECT_FALSE(areOne("sub/new", "sub/newer"));
}

TEST_F(FilePlaceTest, WhatCannotBeReachedIsEqualToNothing) {
  EXPECT_FALSE(areOne("nowhere/x", "nowhere/x"));
}

}  // namespace
