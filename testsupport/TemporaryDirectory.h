// Where a test keeps its files.
#ifndef TESTSUPPORT_TEMPORARYDIRECTORY_H
#define TESTSUPPORT_TEMPORARYDIRECTORY_H

#include <string>

/// A new directory that is removed, with all that is in it, when the object is destroyed. A forked
/// process must not destroy its copy of the object: the directory is the parent's.
class TemporaryDirectory {
 public:
  /// Below the directory that TMPDIR names, else /tmp, under a name that nothing else has.
  TemporaryDirectory();
  /// At this place, which nothing else may use; directories on the way are made. What a run that
  /// was broken off left there goes first.
  explicit TemporaryDirectory(std::string name);
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::string& name() const { return name_; }
  std::string path(const std::string& file) const { return name_ + "/" + file; }

  /// Creates or replaces a file, and returns its path. Directories on the way are made.
  std::string write(const std::string& file, const std::string& content) const;

  /// The content of a file; "(no file)" where it cannot be read.
  std::string read(const std::string& file) const;

  bool has(const std::string& file) const;

 private:
  std::string name_;
};

#endif
