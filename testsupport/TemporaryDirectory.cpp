#include "testsupport/TemporaryDirectory.h"

#include <ftw.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace {

int removeOne(const char* path, const struct stat* /*status*/, int /*kind*/, struct FTW* /*at*/) {
  return std::remove(path);
}

void removeAll(const std::string& directory) {
  ::nftw(directory.c_str(), removeOne, 16, FTW_DEPTH | FTW_PHYS);
}

/// Those that a path names before its last slash.
void makeDirectoriesOnTheWay(const std::string& path) {
  for (auto slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    // One that cannot be made is missed by what needs it.
    ::mkdir(path.substr(0, slash).c_str(), 0700);
  }
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
  const char* const base = std::getenv("TMPDIR");
  std::string pattern = std::string(base != nullptr ? base : "/tmp") + "/varnel-test-XXXXXX";
  if (::mkdtemp(&pattern[0]) == nullptr) {
    throw std::runtime_error("no temporary directory");
  }
  name_ = pattern;
}

TemporaryDirectory::TemporaryDirectory(std::string name) : name_(std::move(name)) {
  removeAll(name_);
  makeDirectoriesOnTheWay(name_);
  if (::mkdir(name_.c_str(), 0700) != 0) {
    throw std::runtime_error("no directory " + name_);
  }
}

TemporaryDirectory::~TemporaryDirectory() {
  removeAll(name_);
}

std::string TemporaryDirectory::write(const std::string& file, const std::string& content) const {
  makeDirectoriesOnTheWay(path(file));
  std::ofstream stream(path(file), std::ios::binary);
  stream << content;
  stream.close();
  if (!stream) {
    throw std::runtime_error("cannot write " + path(file));
  }
  return path(file);
}

std::string TemporaryDirectory::read(const std::string& file) const {
  const std::ifstream stream(path(file), std::ios::binary);
  if (!stream.is_open()) {
    return "(no file)";
  }
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

bool TemporaryDirectory::has(const std::string& file) const {
  struct stat status {};
  return ::lstat(path(file).c_str(), &status) == 0;
}
