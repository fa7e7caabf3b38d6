#include "common/SystemFailure.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

TEST(SystemFailure, IsTheLastOneNoted) {
  errno = ENOENT;
  noteSystemFailure("first");
  errno = EACCES;
  noteSystemFailure("second");
  errno = EIO;
  EXPECT_EQ(notedSystemFailure().file, "second");
  EXPECT_EQ(notedSystemFailure().reason, "Permission denied");
}

TEST(SystemFailure, WithoutAnErrorHasNoReason) {
  errno = ENOENT;
  noteSystemFailure("first");
  errno = 0;
  noteSystemFailure("second");
  EXPECT_EQ(notedSystemFailure().file, "second");
  EXPECT_EQ(notedSystemFailure().reason, "");
}

}  // namespace
