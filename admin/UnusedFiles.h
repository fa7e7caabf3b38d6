// The files of a configuration of which only the names count.
#ifndef ADMIN_UNUSEDFILES_H
#define ADMIN_UNUSEDFILES_H

#include <string>

#include "admin/LookedAtFiles.h"

/// No file is a fault, whether it is there or not, and whoever may write it: for those who ask a
/// configuration about entries long after a split, or on another machine.
class UnusedFiles : public LookedAtFiles {
 public:
  bool add(const std::string& /*name*/, FileRole /*role*/) override { return true; }
  /// It need not be there, but has to be known: the working directory may have been removed.
  void requireDirectory(const std::string& directory, int line) override {
    if (directory.empty()) {
      LookedAtFiles::requireDirectory(directory, line);
    }
  }
  void requireInputFile(const std::string& name, int line) override {
    note(name, FileRole::input, line);
  }
  void prepareOutputFile(const std::string& name, int line) override {
    note(name, FileRole::output, line);
  }
  void prepareServerFile(const std::string& name, int line) override {
    note(name, FileRole::output, line);
  }
  void prepareDefaultOutputFile(const std::string& name) override {
    note(name, FileRole::output, 0);
  }
  void prepareLogFile(const std::string& /*name*/, int /*line*/) override {}
  void tryLogFile(const std::string& /*name*/) override {}
};

#endif
