// A configuration read for a look at it.
#ifndef ADMIN_CONFIGURATIONREADING_H
#define ADMIN_CONFIGURATIONREADING_H

#include <memory>
#include <string>
#include <vector>

#include "admin/Finding.h"
#include "admin/LookedAtFiles.h"
#include "config/VarnelConfig.h"

/// Reads a configuration by the rules of varnel, touching no file, and keeps all that is to be said
/// of it. A process reads one. While this lives, the messages of the tool go to messages().
class ConfigurationReading {
 public:
  /// `files`: what is asked of the files that it names.
  explicit ConfigurationReading(
      const std::string& configFile,
      std::shared_ptr<LookedAtFiles> files = std::make_shared<LookedAtFiles>());
  ~ConfigurationReading();
  ConfigurationReading(const ConfigurationReading&) = delete;
  ConfigurationReading& operator=(const ConfigurationReading&) = delete;

  /// Errors and warnings, in the order in which they were found.
  const std::vector<Finding>& findings() const { return findings_; }

  /// Whether a split by it is possible; else config() must not be used.
  bool isUsable() const;

  /// Prints each error on standard error, a line each; true where the configuration is usable.
  bool printErrors() const;

  const VarnelConfig& config() const { return *config_; }
  const LookedAtFiles& files() const { return *files_; }

  /// What the libraries said since the configuration was read, such as the warnings of a split.
  const std::vector<Message>& messages() const { return messages_; }

 private:
  void take(const Message& message);
  void take(const VarnelConfigException& fault);

  std::shared_ptr<LookedAtFiles> files_;
  std::unique_ptr<VarnelConfig> config_;
  std::vector<Finding> findings_;
  std::vector<Message> messages_;  // while the configuration is read: those of the next finding
};

#endif
