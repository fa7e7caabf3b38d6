// What becomes of the files and directories that the configuration names while it is read. Nothing
// else in this folder touches them.
#ifndef CONFIG_CONFIGUREDFILES_H
#define CONFIG_CONFIGUREDFILES_H

#include <string>

#include "common/AutoClose.h"
#include "config/FileIdentities.h"

/// What the reader of a configuration asks for each file, in the order of the lines. PreparedFiles
/// does what a split needs; another one may only look.
///
/// `line` is the line of the configuration that names the file, 0 where it names none: the file has
/// its default name. A fault is a VarnelConfigException with that line; whether there is one, is
/// the answer of the class.
class ConfiguredFiles {
 public:
  ConfiguredFiles() = default;
  virtual ~ConfiguredFiles() = default;
  ConfiguredFiles(const ConfiguredFiles&) = delete;
  ConfiguredFiles& operator=(const ConfiguredFiles&) = delete;

  /// The file is one of the run's, whatever is asked of it later. False where the system does not
  /// tell what the name is, with its reason in errno.
  virtual bool add(const std::string& name, FileRole role) = 0;

  /// A directory where file names are looked up.
  virtual void requireDirectory(const std::string& directory, int line) = 0;

  /// The input.
  virtual void requireInputFile(const std::string& name, int line) = 0;

  /// The default output file under a configured name.
  virtual void prepareOutputFile(const std::string& name, int line) = 0;

  /// The output file of a server.
  virtual void prepareServerFile(const std::string& name, int line) = 0;

  /// The default output file under its default name.
  virtual void prepareDefaultOutputFile(const std::string& name) = 0;

  /// The log file under a configured name.
  virtual void prepareLogFile(const std::string& name, int line) = 0;

  /// Whether the log file can be written: behind the last line, under either name.
  virtual void tryLogFile(const std::string& name) = 0;
};

#endif
