// The files of a configuration, as they are.
#ifndef ADMIN_LOOKEDATFILES_H
#define ADMIN_LOOKEDATFILES_H

#include <string>
#include <utility>
#include <vector>

#include "admin/FilePlace.h"
#include "config/ConfiguredFiles.h"
#include "config/FileIdentities.h"

/// Only looks: nothing is created, emptied, opened or locked. A fault is what would end every
/// split: an input or a directory that is missing, an output file that could not be created, a file
/// that cannot have its role beside the others, be it there already or not. Output files that exist
/// are no fault.
class LookedAtFiles : public ConfiguredFiles {
 public:
  /// A file that the configuration names, in the order of the lines.
  struct Use {
    std::string name;
    FileRole role;
    int line;       ///< 0: it has its default name
    bool exists;    ///< whatever it is
    FileKind kind;  ///< what it is
  };

  const std::vector<Use>& uses() const { return uses_; }

  /// The name that stands on an earlier line for the same file, or for what will be the same one;
  /// empty where there is none.
  std::string earlierNameOf(const std::string& name) const;

  bool add(const std::string& name, FileRole role) override;
  void requireDirectory(const std::string& directory, int line) override;
  void requireInputFile(const std::string& name, int line) override;
  void prepareOutputFile(const std::string& name, int line) override;
  void prepareServerFile(const std::string& name, int line) override;
  void prepareDefaultOutputFile(const std::string& name) override;
  void prepareLogFile(const std::string& name, int line) override;
  void tryLogFile(const std::string& name) override;

 protected:
  /// The file is one of uses(), whatever it is.
  void note(const std::string& name, FileRole role, int line);

 private:
  struct Known {
    std::string name;
    FileRole role;
    FilePlace place;
  };

  void look(const std::string& name, FileRole role, const std::string& key, int line);
  bool willBeTaken(const std::string& name, FileRole role) const;

  std::vector<Use> uses_;
  FileIdentities files_;      // those that exist
  std::vector<Known> known_;  // every file of the run so far
};

#endif
