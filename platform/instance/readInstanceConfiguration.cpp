#include "platform/instance/readInstanceConfiguration.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "platform/text/ascii.h"
#include "platform/text/equalIgnoringCase.h"
#include "platform/text/lastError.h"
#include "platform/text/withoutOuter.h"

namespace QuorInstanceUtils {

namespace {

constexpr std::string_view keys[] = {"systemschema", "userschema"};
constexpr std::size_t longestName = 64;

constexpr bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

std::string_view withoutOuterBlanks(std::string_view text) {
  return text::withoutOuter(isBlank, text);
}

/// Why the file cannot be read; empty if it can. Only regular files can.
std::string whyUnreadable(const std::string& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) {
    return text::lastError();
  }
  // To open a pipe would be to wait until somebody writes to it.
  if (!S_ISREG(status.st_mode)) {
    return S_ISDIR(status.st_mode) ? "it is a directory" : "it is not a regular file";
  }
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    return text::lastError();
  }
  close(descriptor);
  return "";
}

bool isSchemaFileName(std::string_view name) {
  return !name.starts_with('.') && (name.ends_with(".schema") || name.ends_with(".ldif"));
}

std::string joined(const std::string& directory, std::string_view file) {
  return directory + (directory.ends_with('/') ? "" : "/") + std::string(file);
}

/// Reads the lines of one configuration file.
class ConfigurationReader {
 public:
  ConfigurationReader(const std::string& instance, const std::string& directory,
                      const std::string& configFile, const InstanceFaultSink& sink)
      : instance_(instance), directory_(directory), configFile_(configFile), sink_(sink) {}

  /// Returns false where the file cannot be read to its end.
  bool read();

  SchemaFileLists take() { return std::move(lists_); }

 private:
  void readLine(std::string_view line);
  void addPath(std::vector<std::string>& list, const std::string& path);
  void addDirectory(std::vector<std::string>& list, const std::string& path);
  void addFile(std::vector<std::string>& list, const std::string& file);
  void fault(InstanceFault::Kind kind, const std::string& what);

  const std::string& instance_;
  const std::string& directory_;
  const std::string& configFile_;
  const InstanceFaultSink& sink_;
  SchemaFileLists lists_;
  std::size_t lineNumber_ = 0;
  std::string key_;  ///< of the line being read, as it is written
};

void ConfigurationReader::fault(InstanceFault::Kind kind, const std::string& what) {
  sink_({kind, {instance_, configFile_, std::to_string(lineNumber_), what}});
}

bool ConfigurationReader::read() {
  std::ifstream stream(configFile_, std::ios::binary);
  std::string line;
  while (std::getline(stream, line)) {
    ++lineNumber_;
    readLine(withoutOuterBlanks(line));
  }
  return stream.eof() && !stream.bad();
}

void ConfigurationReader::readLine(std::string_view line) {
  if (line.empty() || line.front() == '#') {
    return;
  }
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos || colon == 0 || line.find('\0') != std::string_view::npos) {
    fault(InstanceFault::Kind::noKey, std::string(line));
    return;
  }
  const std::string written(withoutOuterBlanks(line.substr(0, colon)));
  const auto* const found =
      std::find_if(std::begin(keys), std::end(keys),
                   [&](std::string_view key) { return text::equalIgnoringCase(key, written); });
  if (found == std::end(keys)) {
    fault(InstanceFault::Kind::unknownKey, written);
    return;
  }
  const std::string_view value = withoutOuterBlanks(line.substr(colon + 1));
  if (value.empty()) {
    fault(InstanceFault::Kind::noValue, written);
    return;
  }
  key_ = written;
  addPath(lists_[static_cast<std::size_t>(found - std::begin(keys))],
          value.starts_with('/') ? std::string(value) : joined(directory_, value));
}

void ConfigurationReader::addPath(std::vector<std::string>& list, const std::string& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) {
    addDirectory(list, path);
  } else {
    addFile(list, path);
  }
}

void ConfigurationReader::addDirectory(std::vector<std::string>& list, const std::string& path) {
  std::vector<std::string> names;
  std::error_code error;
  std::filesystem::directory_iterator entry(path, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    std::error_code ignored;
    const std::string name = entry->path().filename().string();
    if (isSchemaFileName(name) && !entry->is_directory(ignored)) {
      names.push_back(name);
    }
  }
  if (error) {
    fault(InstanceFault::Kind::unreadableSchema, key_ + ": " + path + ": " + error.message());
    return;
  }
  if (names.empty()) {
    fault(InstanceFault::Kind::emptyDirectory, key_ + ": " + path);
  }
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    addFile(list, joined(path, name));
  }
}

void ConfigurationReader::addFile(std::vector<std::string>& list, const std::string& file) {
  const std::string reason = whyUnreadable(file);
  if (reason.empty()) {
    list.push_back(file);
  } else {
    fault(InstanceFault::Kind::unreadableSchema, key_ + ": " + file + ": " + reason);
  }
}

}  // namespace

std::string instanceRegistry() {
  return VARNEL_INSTANCE_REGISTRY;
}

bool isInstanceName(std::string_view name) {
  const auto allowed = [](char c) {
    return text::isAsciiLetter(c) || text::isAsciiDigit(c) || c == '-' || c == '_' || c == '.';
  };
  return !name.empty() && name.size() <= longestName && name.front() != '.' &&
         std::all_of(name.begin(), name.end(), allowed);
}

std::string instanceDirectory(const std::string& instance) {
  if (instance.find('/') != std::string::npos) {
    return instance;
  }
  return isInstanceName(instance) ? joined(instanceRegistry(), instance) : "";
}

std::string instanceConfigurationFile(const std::string& directory) {
  return joined(directory, "instance.conf");
}

SchemaFileLists readInstanceConfiguration(const std::string& instance, const std::string& directory,
                                          const std::string& configFile,
                                          const InstanceFaultSink& sink) {
  ConfigurationReader reader(instance, directory, configFile, sink);
  const std::string reason = whyUnreadable(configFile);
  if (!reason.empty()) {
    sink({InstanceFault::Kind::unreadableConfiguration, {instance, configFile, reason}});
  } else if (!reader.read()) {
    sink({InstanceFault::Kind::unreadableConfiguration, {instance, configFile, text::lastError()}});
  }
  return reader.take();
}

}  // namespace QuorInstanceUtils
