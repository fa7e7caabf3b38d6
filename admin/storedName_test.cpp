#include "admin/storedName.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "admin/exitStatus.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

TEST(StoredName, IsTheFirstOfThoseThatThereAre) {
  const TemporaryDirectory some;
  EXPECT_EQ(storedName(some.path("f")), "");
  for (const char* const ending : {".zst", ".xz", ".bz2", ".gz", ""}) {
    some.write(std::string("f") + ending, "");
    EXPECT_EQ(storedName(some.path("f")), some.path("f") + ending);
  }
}

TEST(StoredName, IsThatOfNoFileWhereAnEndingIsTooMuch) {
  const TemporaryDirectory some;
  EXPECT_EQ(storedName(some.path(std::string(253, 'x'))), "");
}

TEST(StoredName, IsNotGuessedWhereTheSystemDoesNotTell) {
  const TemporaryDirectory some;
  ASSERT_EQ(::symlink("f", some.path("f").c_str()), 0);
  some.write("f.gz", "");
  EXPECT_THROW(storedName(some.path("f")), SystemError);
}

}  // namespace
