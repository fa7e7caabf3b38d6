#include "admin/StagedFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <set>

#include "admin/FilePlace.h"

namespace {

const std::string suffix = ".varnelctl-XXXXXX";
constexpr std::size_t longestName = 255;

/// A descriptor that is closed at the end.
class Descriptor {
 public:
  Descriptor(const std::string& name, int flags)
      : number_(::open(name.c_str(), flags | O_CLOEXEC)) {}
  ~Descriptor() {
    if (number_ >= 0) {
      ::close(number_);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return number_; }

 private:
  int number_;
};

/// ENOSYS and EINVAL: the kernel or the file system has no such way to rename.
bool isUnknownToSystem(int error) {
  return error == ENOSYS || error == EINVAL;
}

bool rename(const std::string& from, const std::string& to, unsigned int how) {
  return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), how) == 0;
}

/// Renames without ever taking the name of another file.
bool renameToFreeName(const std::string& from, const std::string& to) {
  if (rename(from, to, RENAME_NOREPLACE)) {
    return true;
  }
  if (!isUnknownToSystem(errno) || ::link(from.c_str(), to.c_str()) != 0) {
    return false;
  }
  ::unlink(from.c_str());
  return true;
}

}  // namespace

void StagedFiles::add(const std::string& name) {
  if (temporaryOf(name) != nullptr) {
    return;
  }
  File file;
  file.name = name;
  file.target = behindLinks(name);
  const std::string last = lastPartOf(file.target).substr(0, longestName - suffix.size() - 1);
  file.temporary = directoryOf(file.target) + "/." + last + suffix;
  // Room first: a file that was created is not to be forgotten.
  files_.push_back(file);
  indexes_[name] = files_.size() - 1;
  const int created = ::mkostemp(&files_.back().temporary[0], O_CLOEXEC);
  if (created < 0) {
    files_.back().state = State::gone;
    throw SystemError::of(name + ": no file can be created in its directory");
  }
  ::close(created);
}

const std::string* StagedFiles::temporaryOf(const std::string& name) const {
  const auto found = indexes_.find(name);
  return found != indexes_.end() ? &files_[found->second].temporary : nullptr;
}

std::string StagedFiles::nameOf(const std::string& temporary) const {
  const auto found = std::find_if(files_.begin(), files_.end(),
                                  [&](const File& file) { return file.temporary == temporary; });
  return found != files_.end() ? found->name : temporary;
}

std::vector<std::string> StagedFiles::publish() {
  const auto undo = [this] {
    std::string left = goBack();
    isAsBefore_ = left.empty();
    remove();
    return left;
  };
  try {
    for (File& file : files_) {
      sync(file);
    }
    for (File& file : files_) {
      put(file);
    }
    syncDirectories();
  } catch (const NameTaken& failure) {
    throw NameTaken(failure.what() + undo());
  } catch (const SystemError& failure) {
    throw SystemError(failure.what() + undo());
  } catch (...) {
    undo();  // memory ran out
    throw;
  }
  return removeOld();
}

/// Sets its mode too: what is not on the disk yet may be lost with the power.
void StagedFiles::sync(File& file) const {
  const Descriptor open(file.temporary, O_RDONLY);
  if (open.number() < 0) {
    throw SystemError::of(file.name);
  }
  struct stat old {};
  const bool exists = replace_ && ::stat(file.target.c_str(), &old) == 0;
  if (replace_ && !exists && errno != ENOENT) {
    throw SystemError::of(file.name);
  }
  if (exists && S_ISREG(old.st_mode)) {
    constexpr mode_t permissions = S_IRWXU | S_IRWXG | S_IRWXO;
    mode_t mode = old.st_mode & permissions;
    if (::fchown(open.number(), old.st_uid, old.st_gid) != 0 &&
        ::fchown(open.number(), static_cast<uid_t>(-1), old.st_gid) != 0) {
      mode &= ~static_cast<mode_t>(S_IRWXG);  // another group is not to get what that one had
    }
    if (::fchmod(open.number(), mode) != 0) {
      throw SystemError::of(file.name);
    }
  }
  if (::fsync(open.number()) != 0 || ::fstat(open.number(), &file.status) != 0) {
    throw SystemError::of(file.name);
  }
}

void StagedFiles::put(File& file) const {
  if (renameToFreeName(file.temporary, file.target)) {
    file.state = State::published;
    return;
  }
  if (errno != EEXIST) {
    throw SystemError::of(file.name);
  }
  if (!replace_) {
    throw NameTaken(file.name + ": it was created meanwhile, and is not overwritten");
  }
  replace(file);
}

void StagedFiles::replace(File& file) const {
  struct stat old {};
  if (::lstat(file.target.c_str(), &old) != 0) {
    throw SystemError::of(file.name);
  }
  if (!S_ISREG(old.st_mode)) {
    throw SystemError(file.name + ": it is no regular file any more");
  }
  if (rename(file.temporary, file.target, RENAME_EXCHANGE)) {
    file.state = State::exchanged;
    return;
  }
  file.old = file.temporary + ".old";
  if (!isUnknownToSystem(errno) || ::link(file.target.c_str(), file.old.c_str()) != 0) {
    throw SystemError::of(file.name);
  }
  if (!rename(file.temporary, file.target, 0)) {
    const int reason = errno;
    ::unlink(file.old.c_str());
    errno = reason;
    throw SystemError::of(file.name);
  }
  file.state = State::kept;
}

void StagedFiles::syncDirectories() const {
  std::set<std::string> directories;
  for (const File& file : files_) {
    directories.insert(directoryOf(file.target));
  }
  for (const std::string& directory : directories) {
    const Descriptor open(directory, O_RDONLY | O_DIRECTORY);
    // EINVAL: the file system has no way to do that.
    if (open.number() < 0 || (::fsync(open.number()) != 0 && errno != EINVAL)) {
      throw SystemError::of(directory);
    }
  }
}

/// Gives every file its old place; what could not be done, as a text.
std::string StagedFiles::goBack() {
  std::string left;
  for (auto file = files_.rbegin(); file != files_.rend(); ++file) {
    struct stat now {};
    switch (file->state) {
      case State::published: {
        const bool isOurs = ::lstat(file->target.c_str(), &now) == 0 &&
                            now.st_dev == file->status.st_dev && now.st_ino == file->status.st_ino;
        if (isOurs && ::unlink(file->target.c_str()) != 0) {
          left += SystemError::of("; " + file->name + " is new and cannot be removed").what();
        }
        file->state = State::gone;
        break;
      }
      case State::exchanged:
        file->state = State::staged;
        if (!rename(file->temporary, file->target, RENAME_EXCHANGE)) {
          left += SystemError::of("; the old " + file->name + " is " + file->temporary).what();
          file->state = State::gone;
        }
        break;
      case State::kept:
        if (!rename(file->old, file->target, 0)) {
          left += SystemError::of("; the old " + file->name + " is " + file->old).what();
        }
        file->state = State::gone;
        break;
      case State::staged:
      case State::gone:
        break;
    }
  }
  return left;
}

/// What the new files have taken the place of; the names of those that stay.
std::vector<std::string> StagedFiles::removeOld() {
  std::vector<std::string> left;
  for (File& file : files_) {
    const bool hasOld = file.state == State::exchanged || file.state == State::kept;
    const std::string& old = file.state == State::kept ? file.old : file.temporary;
    if (hasOld && ::unlink(old.c_str()) != 0) {
      left.push_back(old);
    }
    file.state = State::gone;
  }
  return left;
}

void StagedFiles::remove() noexcept {
  for (File& file : files_) {
    if (file.state == State::staged) {
      ::unlink(file.temporary.c_str());
      file.state = State::gone;
    }
  }
}
