#include "config/FileIdentities.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "testsupport/TemporaryDirectory.h"

namespace {

class Identities : public ::testing::Test {
 protected:
  Identities() : file_(directory_.write("file", "")), other_(directory_.write("other", "")) {}

  /// A second name of the file.
  std::string hardLink() const {
    const std::string name = directory_.path("hard");
    EXPECT_EQ(::link(file_.c_str(), name.c_str()), 0);
    return name;
  }

  std::string symbolicLink(const std::string& target) const {
    const std::string name = directory_.path("symbolic");
    EXPECT_EQ(::symlink(target.c_str(), name.c_str()), 0);
    return name;
  }

  TemporaryDirectory directory_;
  std::string file_;
  std::string other_;
  FileIdentities files_;
};

TEST_F(Identities, FileOfNobodyIsFree) {
  files_.add(other_, FileRole::input);
  EXPECT_FALSE(files_.isTaken(file_, FileRole::output));
}

TEST_F(Identities, EverySpellingAndLinkIsTheFile) {
  files_.add(file_, FileRole::input);
  for (const std::string& name :
       {file_, directory_.path("./file"),
        directory_.path("../") + directory_.name().substr(directory_.name().rfind('/') + 1) +
            "//file",
        hardLink(), symbolicLink("file")}) {
    EXPECT_TRUE(files_.isTaken(name, FileRole::output)) << name;
    EXPECT_TRUE(files_.isTaken(name, FileRole::log)) << name;
  }
}

TEST_F(Identities, LinkThatWasAddedIsTheFile) {
  files_.add(symbolicLink("file"), FileRole::input);
  EXPECT_TRUE(files_.isTaken(file_, FileRole::output));
  EXPECT_FALSE(files_.isTaken(other_, FileRole::output));
}

TEST_F(Identities, OutputsMayHaveOneNameButNotTwo) {
  const std::string link = hardLink();
  files_.add(file_, FileRole::output);
  EXPECT_FALSE(files_.isTaken(file_, FileRole::output));
  EXPECT_TRUE(files_.isTaken(link, FileRole::output));
  files_.add(file_, FileRole::output);
  EXPECT_FALSE(files_.isTaken(file_, FileRole::output));
}

TEST_F(Identities, TheSecondOfTwoUsesCountsToo) {
  files_.add(file_, FileRole::configuration);
  files_.add(file_, FileRole::output);
  EXPECT_TRUE(files_.isTaken(file_, FileRole::input));
}

TEST_F(Identities, RolesThatExcludeEachOtherDoSoUnderOneName) {
  const FileRole roles[] = {FileRole::configuration, FileRole::input, FileRole::log,
                            FileRole::output};
  for (const FileRole first : roles) {
    for (const FileRole second : roles) {
      FileIdentities files;
      files.add(file_, first);
      const bool bothOnlyRead = first <= FileRole::input && second <= FileRole::input;
      EXPECT_EQ(files.isTaken(file_, second), first != second && !bothOnlyRead)
          << static_cast<int>(first) << static_cast<int>(second);
    }
  }
}

TEST_F(Identities, WhatIsNoRegularFileIsNeverTaken) {
  const std::string fifo = directory_.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const std::string& name : {std::string("/dev/null"), fifo, directory_.name(), std::string(),
                                  directory_.path("missing")}) {
    files_.add(name, FileRole::input);
    EXPECT_FALSE(files_.isTaken(name, FileRole::output)) << name;
  }
}

TEST_F(Identities, WhatTheSystemDoesNotTellIsNotFree) {
  const std::string tooLong = directory_.path(std::string(300, 'x'));
  EXPECT_FALSE(files_.add(tooLong, FileRole::input));
  EXPECT_EQ(errno, ENAMETOOLONG);
  EXPECT_TRUE(files_.isTaken(tooLong, FileRole::output));
  EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(Identities, ErrnoTellsATakenFileFromOneThatIsUnknown) {
  EXPECT_TRUE(files_.add(file_, FileRole::input));
  errno = EIO;
  EXPECT_TRUE(files_.isTaken(file_, FileRole::output));
  EXPECT_EQ(errno, 0);
  EXPECT_TRUE(files_.add(directory_.path("missing"), FileRole::input));
}

TEST_F(Identities, FileIsWhatItIsAtTheTime) {
  const std::string name = directory_.path("later");
  files_.add(name, FileRole::input);
  directory_.write("later", "");
  EXPECT_FALSE(files_.isTaken(name, FileRole::output));
  files_.add(name, FileRole::input);
  EXPECT_TRUE(files_.isTaken(name, FileRole::output));
}

}  // namespace
