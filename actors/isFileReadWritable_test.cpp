#include "actors/isFileReadWritable.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "testsupport/FreshProcess.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

class FileReadWritable : public ::testing::Test {
 protected:
  bool withMode(mode_t mode) const {
    const std::string file = directory_.write("file", "");
    EXPECT_EQ(::chmod(file.c_str(), mode), 0);
    return isFileReadWritable(file.c_str());
  }

  TemporaryDirectory directory_;
};

TEST_F(FileReadWritable, NeedsBothBitsOfTheOwner) {
  EXPECT_TRUE(withMode(0600));
  EXPECT_TRUE(withMode(0700));
  EXPECT_TRUE(withMode(0666));
  EXPECT_FALSE(withMode(0400));
  EXPECT_FALSE(withMode(0200));
  EXPECT_FALSE(withMode(0100));
  EXPECT_FALSE(withMode(0));
}

TEST_F(FileReadWritable, BitsOfTheOthersDoNotCount) {
  EXPECT_FALSE(withMode(0066));
  EXPECT_FALSE(withMode(0466));
}

TEST_F(FileReadWritable, DirectoryCountsAsAFile) {
  EXPECT_TRUE(isFileReadWritable(directory_.name().c_str()));
}

TEST_F(FileReadWritable, WhatIsNotThereIsNot) {
  EXPECT_FALSE(isFileReadWritable(nullptr));
  EXPECT_FALSE(isFileReadWritable(""));
  EXPECT_FALSE(isFileReadWritable(directory_.path("missing").c_str()));
  directory_.write("file", "");
  EXPECT_FALSE(isFileReadWritable(directory_.path("file/below").c_str()));
}

TEST_F(FileReadWritable, WhatCannotBeReachedIsNot) {
  ASSERT_TRUE(withMode(0666));
  inFreshProcess([&] {
    // Nobody keeps root from a file.
    const bool root = ::geteuid() == 0;
    ASSERT_EQ(root ? ::seteuid(65534) : ::chmod(directory_.name().c_str(), 0), 0);
    EXPECT_FALSE(isFileReadWritable(directory_.path("file").c_str()));
    ASSERT_EQ(root ? ::seteuid(0) : ::chmod(directory_.name().c_str(), 0700), 0);
    // A leak checker may look at this process again.
    ::prctl(PR_SET_DUMPABLE, 1);
  });
}

}  // namespace
