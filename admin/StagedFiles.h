// Files that are written beside their places and put there all together.
#ifndef ADMIN_STAGEDFILES_H
#define ADMIN_STAGEDFILES_H

#include <sys/stat.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "admin/exitStatus.h"

/// What has one of the names by now is not to be replaced.
class NameTaken : public SystemError {
 public:
  using SystemError::SystemError;
};

/// Each file is written under a temporary name in the directory where it is to be,
/// ".NAME.varnelctl-XXXXXX"; publish() gives all of them their names. Until then, and where that
/// fails, the directories have under every name what they had before; the temporary files are
/// removed with the object. A name that is a symbolic link stays one: the file that it leads to is
/// meant.
class StagedFiles {
 public:
  /// `replace`: whether what has the names when the files are published gives way. Else such a file
  /// keeps publish() from its work.
  explicit StagedFiles(bool replace) : replace_(replace) {}
  ~StagedFiles() { remove(); }
  StagedFiles(const StagedFiles&) = delete;
  StagedFiles& operator=(const StagedFiles&) = delete;

  /// Creates the temporary file, empty and for its owner alone (mode 0600). A name that was added
  /// before changes nothing. Throws SystemError.
  void add(const std::string& name);

  /// The temporary file of a name; a null pointer where it was not added.
  const std::string* temporaryOf(const std::string& name) const;

  /// The name that such a temporary file is for; else the name as it is.
  std::string nameOf(const std::string& temporary) const;

  /// Has the system write every file to its disk, which must be closed, and then renames all of
  /// them. A file that replaces another gets its mode and, as far as that is allowed, its owner and
  /// group. Throws SystemError, NameTaken among them, or std::bad_alloc, with everything as it was;
  /// where even that fails, what() of a SystemError says what is where.
  /// Returns the names under which old files are left that could not be removed.
  std::vector<std::string> publish();

  /// Whether all is as it was, once publish() has thrown.
  bool isAsBefore() const { return isAsBefore_; }

  /// Removes the temporary files that there are. Signals and failures do not matter to it.
  void remove() noexcept;

 private:
  enum class State {
    staged,
    published,  ///< under its name, where nothing was
    exchanged,  ///< under its name, and what was there has the temporary one
    kept,       ///< under its name, and what was there has the name `old`
    gone,       ///< nothing is left under the temporary name, or it must stay
  };

  struct File {
    std::string name;
    std::string target;  // behind all links
    std::string temporary;
    std::string old;
    State state = State::staged;
    struct stat status {};
  };

  void sync(File& file) const;
  void put(File& file) const;
  void replace(File& file) const;
  void syncDirectories() const;
  std::string goBack();
  std::vector<std::string> removeOld();

  const bool replace_;
  bool isAsBefore_ = true;
  std::vector<File> files_;
  std::map<std::string, std::size_t> indexes_;  // by name
};

#endif
