#include "testsupport/TemporaryDirectory.h"

#include <ftw.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

int removeOne(const char* path, const struct stat* /*status*/, int /*kind*/, struct FTW* /*at*/) {
  return std::remove(path);
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
  std::string pattern = "/tmp/varnel-test-XXXXXX";
  if (::mkdtemp(&pattern[0]) == nullptr) {
    throw std::runtime_error("no temporary directory");
  }
  name_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
  ::nftw(name_.c_str(), removeOne, 16, FTW_DEPTH | FTW_PHYS);
}

std::string TemporaryDirectory::write(const std::string& file, const std::string& content) const {
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
