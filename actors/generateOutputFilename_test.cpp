#include "actors/generateOutputFilename.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <ostream>

#include "testsupport/FreshProcess.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

struct NumberRow {
  const char* name;
  int number;
  const char* fileName;
};

void PrintTo(const NumberRow& row, std::ostream* out) {
  *out << row.name;
}

class OutputFilename : public ::testing::TestWithParam<NumberRow> {};

TEST_P(OutputFilename, HasTwoCharactersOfTheNumber) {
  EXPECT_EQ(nLdifActor::generateOutputFilename(GetParam().number), GetParam().fileName);
}

INSTANTIATE_TEST_SUITE_P(Numbers, OutputFilename,
                         ::testing::Values(NumberRow{"Zero", 0, "server00.ldif"},
                                           NumberRow{"One", 1, "server01.ldif"},
                                           NumberRow{"Seven", 7, "server07.ldif"},
                                           NumberRow{"Twelve", 12, "server12.ldif"},
                                           NumberRow{"Ninetynine", 99, "server99.ldif"},
                                           NumberRow{"Hundred", 100, "server10.ldif"},
                                           NumberRow{"HundredTwentythree", 123, "server12.ldif"},
                                           NumberRow{"MinusOne", -1, "server-0.ldif"},
                                           NumberRow{"MinusTwelve", -12, "server-1.ldif"},
                                           NumberRow{"Greatest", INT_MAX, "server21.ldif"},
                                           NumberRow{"Least", INT_MIN, "server-2.ldif"}),
                         [](const ::testing::TestParamInfo<NumberRow>& row) {
                           return row.param.name;
                         });

TEST(OutputFilename, IsMadeOfThePrefixAndTheSuffix) {
  EXPECT_STREQ(defaultLdifPrefix, "server");
  EXPECT_STREQ(defaultLdifSuffix, ".ldif");
}

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
