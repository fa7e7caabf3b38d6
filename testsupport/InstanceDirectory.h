// Where a test keeps a server instance.
#ifndef TESTSUPPORT_INSTANCEDIRECTORY_H
#define TESTSUPPORT_INSTANCEDIRECTORY_H

#include <string>
#include <utility>

#include "testsupport/TemporaryDirectory.h"

/// The directory of an instance, without a configuration at first; removed with all that is in it
/// at destruction.
class InstanceDirectory {
 public:
  /// Under a name that nothing else has.
  InstanceDirectory() = default;
  /// At this place; see TemporaryDirectory.
  explicit InstanceDirectory(std::string path) : directory_(std::move(path)) {}

  const std::string& path() const { return directory_.name(); }
  std::string path(const std::string& name) const { return directory_.path(name); }

  /// Writes a file and returns its path; directories on the way are made.
  std::string write(const std::string& name, const std::string& text = "") const {
    return directory_.write(name, text);
  }

  /// Writes the configuration file.
  void configure(const std::string& text) const { write("instance.conf", text); }

 private:
  TemporaryDirectory directory_;
};

#endif
