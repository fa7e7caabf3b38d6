// Where a test keeps a server instance.
#ifndef TESTSUPPORT_INSTANCEDIRECTORY_H
#define TESTSUPPORT_INSTANCEDIRECTORY_H

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

/// An instance in the directory `path`, made at construction, removed with all that is in it at
/// destruction.
class InstanceDirectory {
 public:
  explicit InstanceDirectory(std::string path) : path_(std::move(path)) {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~InstanceDirectory() { std::filesystem::remove_all(path_); }
  InstanceDirectory(const InstanceDirectory&) = delete;
  InstanceDirectory& operator=(const InstanceDirectory&) = delete;

  const std::string& path() const { return path_; }
  std::string path(const std::string& name) const { return path_ + "/" + name; }

  /// Writes a file and returns its path; directories on the way are made.
  std::string write(const std::string& name, const std::string& text = "") const {
    std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
  }

  /// Writes the configuration file.
  void configure(const std::string& text) const { write("instance.conf", text); }

 private:
  std::string path_;
};

#endif
