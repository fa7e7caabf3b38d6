#include "admin/StagedFiles.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <new>
#include <sstream>

#include "testsupport/HeapAllocations.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

using Tree = std::map<std::string, std::string>;

std::string contentOf(const std::string& name) {
  std::ifstream file(name);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

class StagedFilesTest : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return directory_.path(name); }

  void stage(StagedFiles& files, const std::string& name, const std::string& content) const {
    files.add(path(name));
    std::ofstream(*files.temporaryOf(path(name))) << content;
  }

  /// Every file of the directory with its content.
  Tree tree() const {
    Tree found;
    DIR* const directory = ::opendir(path(".").c_str());
    while (const dirent* const entry = ::readdir(directory)) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") {
        found[name] = contentOf(path(name));
      }
    }
    ::closedir(directory);
    return found;
  }

  TemporaryDirectory directory_;
};

TEST_F(StagedFilesTest, StandBesideTheirPlacesForTheirOwnerAlone) {
  StagedFiles files(false);
  files.add(path("a"));
  const std::string temporary = *files.temporaryOf(path("a"));
  EXPECT_EQ(temporary.compare(0, path(".a.varnelctl-").size(), path(".a.varnelctl-")), 0);
  EXPECT_EQ(files.nameOf(temporary), path("a"));
  EXPECT_EQ(files.nameOf("other"), "other");
  EXPECT_EQ(files.temporaryOf(path("b")), nullptr);
  struct stat status {};
  ASSERT_EQ(::stat(temporary.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
  EXPECT_EQ(tree().size(), 1U);
}

TEST_F(StagedFilesTest, GetTheirNames) {
  StagedFiles files(false);
  stage(files, "a", "1");
  stage(files, "b", "2");
  files.add(path("a"));  // once more
  files.publish();
  EXPECT_TRUE(files.isAsBefore());
  EXPECT_EQ(tree(), (Tree{{"a", "1"}, {"b", "2"}}));
  files.remove();
  EXPECT_EQ(tree(), (Tree{{"a", "1"}, {"b", "2"}}));
}

TEST_F(StagedFilesTest, AreGoneWithTheObject) {
  {
    StagedFiles files(false);
    stage(files, "a", "1");
  }
  EXPECT_EQ(tree(), Tree());
}

TEST_F(StagedFilesTest, TakeNoNameThatIsTaken) {
  StagedFiles files(false);
  stage(files, "a", "1");
  stage(files, "b", "2");
  directory_.write("b", "of another");
  EXPECT_THROW(files.publish(), NameTaken);
  EXPECT_TRUE(files.isAsBefore());
  EXPECT_EQ(tree(), (Tree{{"b", "of another"}}));
}

TEST_F(StagedFilesTest, ReplaceWhereTheyMay) {
  directory_.write("b", "old");
  ASSERT_EQ(::chmod(path("b").c_str(), 0640), 0);
  StagedFiles files(true);
  stage(files, "a", "1");
  stage(files, "b", "2");
  EXPECT_EQ(contentOf(path("b")), "old");
  files.publish();
  EXPECT_EQ(tree(), (Tree{{"a", "1"}, {"b", "2"}}));
  struct stat status {};
  ASSERT_EQ(::stat(path("b").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(StagedFilesTest, GoBackWhereOneCannotReplace) {
  directory_.write("a", "old");
  StagedFiles files(true);
  stage(files, "a", "1");
  stage(files, "b", "2");
  stage(files, "c", "3");
  ASSERT_EQ(::mkdir(path("c").c_str(), S_IRWXU), 0);
  EXPECT_THROW(files.publish(), SystemError);
  EXPECT_EQ(tree(), (Tree{{"a", "old"}, {"c", ""}}));
}

TEST_F(StagedFilesTest, GoBackWhereOneWasRemoved) {
  directory_.write("a", "old");
  StagedFiles files(true);
  stage(files, "a", "1");
  stage(files, "b", "2");
  ASSERT_EQ(::unlink(files.temporaryOf(path("b"))->c_str()), 0);
  EXPECT_THROW(files.publish(), SystemError);
  EXPECT_EQ(tree(), (Tree{{"a", "old"}}));
}

TEST_F(StagedFilesTest, GoBackWhereMemoryRunsOut) {
  directory_.write("a", "old");
  StagedFiles files(true);
  stage(files, "a", "1");
  stage(files, "b", "2");
  exhaustMemory(true);
  bool isTold = false;
  try {
    files.publish();
  } catch (const std::bad_alloc&) {
    isTold = true;
  }
  exhaustMemory(false);
  EXPECT_TRUE(isTold);
  EXPECT_TRUE(files.isAsBefore());
  EXPECT_EQ(tree(), (Tree{{"a", "old"}}));
}

TEST_F(StagedFilesTest, FollowLinks) {
  directory_.write("sub/x", "old");
  ASSERT_EQ(::symlink("sub/x", path("a").c_str()), 0);
  StagedFiles files(true);
  stage(files, "a", "1");
  files.publish();
  EXPECT_EQ(contentOf(path("sub/x")), "1");
  struct stat status {};
  ASSERT_EQ(::lstat(path("a").c_str(), &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST_F(StagedFilesTest, NeedADirectory) {
  StagedFiles files(false);
  EXPECT_THROW(files.add(path("nowhere/a")), SystemError);
  files.add(path("b"));
  files.remove();
  EXPECT_EQ(tree(), Tree());
}

}  // namespace
