// File systems that refuse, or that know only the plain ways to rename: this program's renameat2,
// unlink, fchown and fchmod go through functions that can fail, by way of the linker's --wrap.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <string>

#include "admin/StagedFiles.h"
#include "testsupport/TemporaryDirectory.h"

namespace {

using std::string;

// The error that the call fails with; 0: it is made.
std::function<int(const string& from, const string& to, unsigned int how)> errorOfRename;
std::function<int(const string& name)> errorOfUnlink;
int errorOfOwner = 0;
int errorOfMode = 0;

/// The result of a call that is made only where there is no error.
template <typename Call>
int unless(int error, const Call& call) {
  if (error == 0) {
    return call();
  }
  errno = error;
  return -1;
}

}  // namespace

extern "C" {

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
int __real_renameat2(int fromDirectory, const char* from, int toDirectory, const char* to,
                     unsigned int how);
int __real_unlink(const char* name);
int __real_fchown(int file, uid_t owner, gid_t group);
int __real_fchmod(int file, mode_t mode);

int __wrap_renameat2(int fromDirectory, const char* from, int toDirectory, const char* to,
                     unsigned int how) {
  return unless(errorOfRename ? errorOfRename(from, to, how) : 0,
                [&] { return __real_renameat2(fromDirectory, from, toDirectory, to, how); });
}

int __wrap_unlink(const char* name) {
  return unless(errorOfUnlink ? errorOfUnlink(name) : 0, [&] { return __real_unlink(name); });
}

int __wrap_fchown(int file, uid_t owner, gid_t group) {
  return unless(errorOfOwner, [&] { return __real_fchown(file, owner, group); });
}

int __wrap_fchmod(int file, mode_t mode) {
  return unless(errorOfMode, [&] { return __real_fchmod(file, mode); });
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"

namespace {

/// Two files, each of which stands there already.
class StagedFileFaults : public ::testing::Test {
 protected:
  StagedFileFaults() : files_(true) {
    for (const string& name : {a_, b_}) {
      directory_.write(name, "old " + name);
      files_.add(directory_.path(name));
      std::FILE* const file = std::fopen(temporaryOf(name).c_str(), "w");
      std::fputs(("new " + name).c_str(), file);
      std::fclose(file);
    }
  }

  ~StagedFileFaults() override {
    errorOfRename = nullptr;
    errorOfUnlink = nullptr;
    errorOfOwner = 0;
    errorOfMode = 0;
  }

  string temporaryOf(const string& name) const {
    return *files_.temporaryOf(directory_.path(name));
  }

  /// What is said where the files do not get their names.
  string failure() {
    try {
      files_.publish();
      return "they got their names";
    } catch (const SystemError& error) {
      return error.what();
    }
  }

  void expect(const string& a, const string& b) const {
    EXPECT_EQ(directory_.read(a_), a);
    EXPECT_EQ(directory_.read(b_), b);
  }

  /// Nothing else is left of either.
  void expectNothingElse() const {
    for (const string& name : {a_, b_}) {
      EXPECT_NE(::access(temporaryOf(name).c_str(), F_OK), 0);
      EXPECT_NE(::access((temporaryOf(name) + ".old").c_str(), F_OK), 0);
    }
  }

  const string a_ = "a";
  const string b_ = "b";
  TemporaryDirectory directory_;
  StagedFiles files_;
};

/// Renames of `name` fail, in the two ways that not every file system knows.
bool isUnusual(const string& to, const string& name, unsigned int how) {
  return how != 0 && to.substr(to.rfind('/') + 1) == name;
}

TEST_F(StagedFileFaults, PlainRenamesDoWhereTheSystemKnowsNoOther) {
  ASSERT_EQ(::unlink(directory_.path(a_).c_str()), 0);
  errorOfRename = [](const string&, const string&, unsigned int how) {
    return how != 0 ? ENOSYS : 0;
  };
  EXPECT_EQ(files_.publish(), std::vector<string>());
  expect("new a", "new b");
  expectNothingElse();
}

TEST_F(StagedFileFaults, LinkedFilesComeBackWhereALaterOneFails) {
  errorOfRename = [](const string&, const string& to, unsigned int how) {
    return isUnusual(to, "a", how) ? EINVAL : isUnusual(to, "b", how) ? EIO : 0;
  };
  EXPECT_EQ(failure(), directory_.path(b_) + ": Input/output error");
  EXPECT_TRUE(files_.isAsBefore());
  expect("old a", "old b");
  files_.remove();
  expectNothingElse();
}

TEST_F(StagedFileFaults, NoLinkIsLeftWhereThePlainRenameFailsToo) {
  errorOfRename = [](const string&, const string&, unsigned int how) {
    return how != 0 ? EINVAL : EDQUOT;
  };
  EXPECT_EQ(failure(), directory_.path(a_) + ": Disk quota exceeded");
  EXPECT_TRUE(files_.isAsBefore());
  expect("old a", "old b");
  files_.remove();
  expectNothingElse();
}

TEST_F(StagedFileFaults, SaysWhereALinkedFileIsThatDoesNotComeBack) {
  const string old = temporaryOf(a_) + ".old";
  errorOfRename = [=](const string& from, const string& to, unsigned int how) {
    return from == old               ? EROFS
           : isUnusual(to, "a", how) ? EINVAL
           : isUnusual(to, "b", how) ? EIO
                                     : 0;
  };
  EXPECT_EQ(failure(), directory_.path(b_) + ": Input/output error; the old " +
                           directory_.path(a_) + " is " + old + ": Read-only file system");
  EXPECT_FALSE(files_.isAsBefore());
  expect("new a", "old b");
  EXPECT_EQ(::access(old.c_str(), F_OK), 0);
}

TEST_F(StagedFileFaults, SaysWhereAnExchangedFileIsThatDoesNotComeBack) {
  int calls = 0;
  errorOfRename = [&](const string&, const string&, unsigned int) {
    // The first name is taken, and the two change places.
    return ++calls > 2 ? EIO : 0;
  };
  EXPECT_EQ(failure(), directory_.path(b_) + ": Input/output error; the old " +
                           directory_.path(a_) + " is " + temporaryOf(a_) + ": Input/output error");
  EXPECT_FALSE(files_.isAsBefore());
  expect("new a", "old b");
  files_.remove();
  EXPECT_EQ(::access(temporaryOf(a_).c_str(), F_OK), 0);
}

TEST_F(StagedFileFaults, SaysWhichNewFileCannotBeRemoved) {
  ASSERT_EQ(::unlink(directory_.path(a_).c_str()), 0);
  const string a = directory_.path(a_);
  errorOfRename = [](const string&, const string& to, unsigned int how) {
    return isUnusual(to, "b", how) ? EIO : 0;
  };
  errorOfUnlink = [=](const string& name) { return name == a ? EPERM : 0; };
  EXPECT_EQ(failure(), directory_.path(b_) + ": Input/output error; " + a +
                           " is new and cannot be removed: Operation not permitted");
  EXPECT_FALSE(files_.isAsBefore());
  expect("new a", "old b");
}

TEST_F(StagedFileFaults, NamesTheOldFilesThatCannotBeRemoved) {
  errorOfUnlink = [](const string&) { return EACCES; };
  EXPECT_EQ(files_.publish(), (std::vector<string>{temporaryOf(a_), temporaryOf(b_)}));
  expect("new a", "new b");
  errorOfUnlink = nullptr;
  files_.remove();
  EXPECT_EQ(::access(temporaryOf(a_).c_str(), F_OK), 0);
}

TEST_F(StagedFileFaults, AnotherGroupGetsNoneOfTheRights) {
  ASSERT_EQ(::chmod(directory_.path(a_).c_str(), 0664), 0);
  errorOfOwner = EPERM;
  EXPECT_EQ(files_.publish(), std::vector<string>());
  struct stat status {};
  ASSERT_EQ(::stat(directory_.path(a_).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0604U);
}

TEST_F(StagedFileFaults, NoFileIsReplacedWithoutItsRights) {
  errorOfMode = EPERM;
  EXPECT_EQ(failure(), directory_.path(a_) + ": Operation not permitted");
  expect("old a", "old b");
}

}  // namespace
