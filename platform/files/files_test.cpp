#include "platform/files/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "testsupport/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;

class FilesTest : public ::testing::Test {
 protected:
  std::string path(const std::string& name) const { return directory_.path(name); }

  const TemporaryDirectory directory_;
};

TEST_F(FilesTest, NullIsAlwaysNo) {
  EXPECT_FALSE(doesFileExist(nullptr));
  EXPECT_FALSE(clearFile(nullptr));
  EXPECT_FALSE(isDirectory(nullptr));
}

TEST_F(FilesTest, ExistsForEveryKindOfFile) {
  directory_.write("file", "");
  ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
  EXPECT_TRUE(doesFileExist(path("file").c_str()));
  EXPECT_TRUE(doesFileExist(directory_.name().c_str()));
  EXPECT_TRUE(doesFileExist("/dev/null"));
  // An open would block for ever: no writer comes.
  EXPECT_TRUE(doesFileExist(path("fifo").c_str()));
}

TEST_F(FilesTest, DoesNotExist) {
  EXPECT_FALSE(doesFileExist(path("missing").c_str()));
  EXPECT_FALSE(doesFileExist(""));
  fs::create_symlink("missing", path("dangling"));
  EXPECT_FALSE(doesFileExist(path("dangling").c_str()));
}

TEST_F(FilesTest, ClearCreatesAnEmptyFile) {
  EXPECT_TRUE(clearFile(path("new").c_str()));
  EXPECT_EQ(fs::file_size(path("new")), 0U);
}

TEST_F(FilesTest, ClearEmptiesAnExistingFile) {
  directory_.write("old", "content");
  EXPECT_TRUE(clearFile(path("old").c_str()));
  EXPECT_EQ(fs::file_size(path("old")), 0U);
}

TEST_F(FilesTest, ClearFailsWhereNoFileCanBe) {
  EXPECT_FALSE(clearFile(directory_.name().c_str()));
  EXPECT_FALSE(clearFile(path("missing/file").c_str()));
  EXPECT_FALSE(clearFile(""));
}

TEST_F(FilesTest, IsDirectoryOnlyForDirectories) {
  directory_.write("file", "");
  fs::create_directory_symlink(directory_.name(), path("link"));
  EXPECT_TRUE(isDirectory(directory_.name().c_str()));
  EXPECT_TRUE(isDirectory(path("link").c_str()));
  EXPECT_FALSE(isDirectory(path("file").c_str()));
  EXPECT_FALSE(isDirectory(path("missing").c_str()));
  EXPECT_FALSE(isDirectory(""));
}

class WorkingDirectoryTest : public FilesTest {
 protected:
  WorkingDirectoryTest() : before_(fs::current_path()) {}
  ~WorkingDirectoryTest() override { fs::current_path(before_); }

  static std::unique_ptr<char, decltype(&std::free)> answer() {
    return {getCurrentWorkingDirectory(), &std::free};
  }

  fs::path before_;
};

TEST_F(WorkingDirectoryTest, IsToldWithoutATrailingSlash) {
  fs::current_path(directory_.name());
  EXPECT_EQ(std::string(answer().get()), fs::canonical(directory_.name()).string());
}

TEST_F(WorkingDirectoryTest, MayBeLongerThanAnyFixedBuffer) {
  fs::current_path(directory_.name());
  std::string expected = fs::canonical(directory_.name()).string();
  const std::string name(200, 'd');
  for (int depth = 0; depth < 5; ++depth) {
    ASSERT_TRUE(fs::create_directory(name));
    fs::current_path(name);
    expected += "/" + name;
  }
  EXPECT_EQ(std::string(answer().get()), expected);
}

TEST_F(WorkingDirectoryTest, IsNullAfterItsRemoval) {
  fs::create_directory(path("gone"));
  fs::current_path(path("gone"));
  fs::remove(path("gone"));
  EXPECT_EQ(answer().get(), nullptr);
}

}  // namespace
