#include "platform/text/lastError.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

namespace {

TEST(LastError, IsTheTextOfErrno) {
  ASSERT_EQ(::open("/nonexistent/file", O_RDONLY), -1);
  EXPECT_EQ(text::lastError(), "No such file or directory");
  errno = EACCES;
  EXPECT_EQ(text::lastError(), "Permission denied");
}

}  // namespace
