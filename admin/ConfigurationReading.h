// A configuration read for a look at it.
#ifndef ADMIN_CONFIGURATIONREADING_H
#define ADMIN_CONFIGURATIONREADING_H

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "admin/ConfigLines.h"
#include "admin/Finding.h"
#include "admin/LookedAtFiles.h"
#include "config/VarnelConfig.h"

/// Reads a configuration by the rules of varnel, touching no file, and keeps all that is to be said
/// of it. A process reads one. While this lives, the messages of the tool go to messages(), or
/// where passMessagesTo() says.
class ConfigurationReading {
 public:
  /// `files`: what is asked of the files that it names.
  explicit ConfigurationReading(
      const std::string& configFile,
      std::shared_ptr<LookedAtFiles> files = std::make_shared<LookedAtFiles>());
  ~ConfigurationReading();
  ConfigurationReading(const ConfigurationReading&) = delete;
  ConfigurationReading& operator=(const ConfigurationReading&) = delete;

  /// The errors, and what varnel itself warns of while it reads: each once, by line, those of no
  /// line behind the others. An error that comes only of an earlier one is none.
  const std::vector<Finding>& findings() const { return findings_; }

  /// Whether a split by it is possible; else config() must not be used for one.
  bool isUsable() const;

  /// Whether a line that set this key, or most likely was meant to, is at fault. What depends on
  /// its value is not known then.
  bool isFaulty(const std::string& key) const { return faultyKeys_.count(key) != 0; }

  /// Prints each error on standard error, a line each; true where the configuration is usable.
  bool printErrors() const;

  const VarnelConfig& config() const { return *config_; }
  const LookedAtFiles& files() const { return *files_; }
  const ConfigLines& lines() const { return lines_; }

  /// What the libraries said since the configuration was read, such as the warnings of a split.
  const std::vector<Message>& messages() const { return messages_; }

  /// From here on their messages are not kept.
  void passMessagesTo(MessageReceiver receiver);

 private:
  void take(const Message& message);
  void take(const VarnelConfigException& fault);
  void add(const Finding& finding);
  bool isFollowUp(const Message& message, const VarnelConfigException& fault, bool isOfLine) const;
  bool hasFaultyLine(int section, int end) const;
  bool isOfAnotherSection(int section, int end) const;
  bool startsWithForeignBytes(int line) const;
  void complete(Finding& finding, const Message& message) const;
  void countLinesOfLastSection();
  void addForeignFormat();

  const std::string foreignFormat_;
  const ConfigLines lines_;
  std::shared_ptr<LookedAtFiles> files_;
  std::unique_ptr<VarnelConfig> config_;
  bool isRead_ = false;
  bool countsLastSection_ = false;
  std::set<int> faultyLines_;
  std::set<std::string> faultyKeys_;
  std::vector<Finding> findings_;
  std::vector<Message> messages_;  // while the configuration is read: errors of the next fault
};

#endif
