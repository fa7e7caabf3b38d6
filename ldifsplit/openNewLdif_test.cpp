#include "ldifsplit/openNewLdif.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "ldifsplit/LdifSplitException.h"
#include "ldifsplit/SplitOutputException.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

using ldifsplit::LdifSplitException;
using ldifsplit::SplitOutputException;

template <typename E, typename Call>
void expectThrow(Call call, int line, const std::string& message) {
  try {
    call();
    ADD_FAILURE() << "no exception";
  } catch (const E& failure) {
    EXPECT_EQ(failure.line(), line);
    EXPECT_EQ(failure.message(), message);
  }
}

/// Each template throws the exception that it is told to, whether by the argument or not.
template <typename E>
class FileExceptions : public ::testing::Test {};

using Exceptions = ::testing::Types<LdifSplitException, SplitOutputException, InputFileException>;
/// Numbers the suites. Without a third argument of the macro clang warns of an empty one.
struct SuiteNames {
  template <typename E>
  static std::string GetName(int number) {
    return std::to_string(number);
  }
};
TYPED_TEST_SUITE(FileExceptions, Exceptions, SuiteNames);

TYPED_TEST(FileExceptions, OpenFailureNamesTheFile) {
  const std::string message = "error opening a.ldif: permission denied or does not exist";
  expectThrow<TypeParam>([] { throwFileOpenException<TypeParam>("a.ldif"); }, 0, message);
  TypeParam* const selector = nullptr;
  expectThrow<TypeParam>([=] { throwFileOpenException("a.ldif", selector); }, 0, message);
}

TYPED_TEST(FileExceptions, WriteFailureIsTheNameAlone) {
  expectThrow<TypeParam>([] { throwFileWriteException<TypeParam>("a.ldif", 17); }, 17, "a.ldif");
  TypeParam* const selector = nullptr;
  expectThrow<TypeParam>([=] { throwFileWriteException("a.ldif", 0, selector); }, 0, "a.ldif");
}

TYPED_TEST(FileExceptions, DirectoryThatIsMissingIsAnOpenFailure) {
  const TemporaryDirectory directory;
  const std::string file = directory.path("missing/a.ldif");
  const std::string message = "error opening " + file + ": permission denied or does not exist";
  expectThrow<TypeParam>([&] { openNewLdif<TypeParam>(file.c_str()); }, 0, message);
  expectThrow<TypeParam>([&] { openExistingLdif<TypeParam>(file.c_str()); }, 0, message);
}

TEST(SplitExceptions, AreInputFileExceptionsThatTellApart) {
  EXPECT_TRUE((std::is_base_of<InputFileException, LdifSplitException>::value));
  EXPECT_TRUE((std::is_base_of<InputFileException, SplitOutputException>::value));
  EXPECT_FALSE((std::is_base_of<LdifSplitException, SplitOutputException>::value));
  EXPECT_FALSE((std::is_base_of<SplitOutputException, LdifSplitException>::value));
  EXPECT_TRUE(std::has_virtual_destructor<LdifSplitException>::value);
  EXPECT_TRUE(std::has_virtual_destructor<SplitOutputException>::value);
}

class LdifFile : public ::testing::Test {
 protected:
  TemporaryDirectory directory_;
};

TEST_F(LdifFile, NewOneHasTheHeader) {
  const AutoClose stream(openNewLdif<LdifSplitException>(directory_.path("a.ldif").c_str()));
  ASSERT_NE(stream, nullptr);
  std::fflush(stream.get());
  EXPECT_EQ(directory_.read("a.ldif"), "version: 1\n\n");
}

TEST_F(LdifFile, NewOneIsWrittenBehindTheHeader) {
  std::FILE* stream = openNewLdif<LdifSplitException>(directory_.path("a.ldif").c_str());
  std::fputs("more", stream);
  std::fclose(stream);
  EXPECT_EQ(directory_.read("a.ldif"), "version: 1\n\nmore");
}

TEST_F(LdifFile, NewOneReplacesWhatWasThere) {
  const std::string file = directory_.write("a.ldif", "a much longer text than the header\n");
  std::fclose(openNewLdif<LdifSplitException>(file.c_str()));
  EXPECT_EQ(directory_.read("a.ldif"), "version: 1\n\n");
}

TEST_F(LdifFile, ExistingOneIsAppendedTo) {
  const std::string file = directory_.write("a.ldif", "old\n");
  std::FILE* stream = openExistingLdif<LdifSplitException>(file.c_str());
  std::fputs("new\n", stream);
  std::fclose(stream);
  EXPECT_EQ(directory_.read("a.ldif"), "old\nnew\n");
}

TEST_F(LdifFile, DirectoryCannotBeOpened) {
  const std::string message =
      "error opening " + directory_.name() + ": permission denied or does not exist";
  expectThrow<LdifSplitException>(
      [&] { openNewLdif<LdifSplitException>(directory_.name().c_str()); }, 0, message);
  expectThrow<LdifSplitException>(
      [&] { openExistingLdif<LdifSplitException>(directory_.name().c_str()); }, 0, message);
}

TEST_F(LdifFile, EmptyNameCannotBeOpened) {
  expectThrow<LdifSplitException>([] { openNewLdif<LdifSplitException>(""); }, 0,
                                  "error opening : permission denied or does not exist");
}

}  // namespace
