// The files of a split: they are tested, created or emptied while the configuration is read.
#ifndef CONFIG_PREPAREDFILES_H
#define CONFIG_PREPAREDFILES_H

#include <string>

#include "config/ConfiguredFiles.h"
#include "config/FileIdentities.h"

/// Makes the files ready. A message is printed before a fault where it is named below; where the
/// system has a reason, noteSystemFailure() has it. What was created or emptied before a fault
/// stays so.
///
/// A file that cannot have its role beside those of the run so far is an illegal value, message 6:
/// it is neither emptied nor opened. This comes behind the function's other tests, and a file that
/// passes is one of the run's from there on.
class PreparedFiles : public ConfiguredFiles {
 public:
  /// Recovery mode (`recovery`) repeats a run over the files that an earlier one left.
  explicit PreparedFiles(bool recovery) : recovery_(recovery) {}

  bool add(const std::string& name, FileRole role) override { return files_.add(name, role); }

  /// It must exist. Message 13.
  void requireDirectory(const std::string& directory, int line) override;

  /// It must exist. Message 7.
  void requireInputFile(const std::string& name, int line) override;

  /// It must not exist, and is created empty. In recovery mode it must exist, and is left as it is.
  /// Messages 8 and 7.
  void prepareOutputFile(const std::string& name, int line) override;

  /// The same, but in recovery mode too it is then empty.
  void prepareServerFile(const std::string& name, int line) override;

  /// The same as under another name, but it is created with the header of an LDIF file in it.
  /// Messages 8 and 7; none where it cannot be written.
  void prepareDefaultOutputFile(const std::string& name) override;

  /// Created empty where it does not exist, which in recovery mode is a fault. No message. That it
  /// cannot be created is no fault yet: tryLogFile finds out.
  void prepareLogFile(const std::string& name, int line) override;

  /// Opens it for appending, and so creates it where it does not exist. No message.
  void tryLogFile(const std::string& name) override;

 private:
  void requireFileOfRun(const std::string& name, int line) const;
  void requireFree(const std::string& name, FileRole role, const std::string& key, int line) const;
  void remember(const std::string& name, FileRole role, int line);
  void prepareOutput(const std::string& name, const std::string& key, int line);

  const bool recovery_;
  FileIdentities files_;  // those of the run so far
};

#endif
