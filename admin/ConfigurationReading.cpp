#include "admin/ConfigurationReading.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "common/SystemFailure.h"
#include "config/ConfigLine.h"
#include "config/VarnelConfigException.h"
#include "config/configKeys.h"
#include "config/nearestLegalKey.h"
#include "driver/foreignFormat.h"

namespace {

// Messages of the reader, by their numbers in the tool's set.
constexpr int notReadable = 2;
constexpr int illegalKey = 4;
constexpr int illegalValue = 6;
constexpr int notOpened = 7;
constexpr int noDirectory = 13;
constexpr int missingKey = 49;
constexpr int missingLine = 51;
constexpr int repeatedUrl = 71;

/// A byte order mark is part of the first key.
std::string withoutMark(const std::string& key) {
  const std::string mark = "\xEF\xBB\xBF";
  return key.compare(0, mark.size(), mark) == 0 ? key.substr(mark.size()) : key;
}

bool isSectionKey(const std::string& key) {
  return key == URLKey || key == fileKey;
}

bool isDirectoryKey(const std::string& key) {
  return key == baseDirKey || key == fileDirKey;
}

bool namesAFile(const std::string& key) {
  return key == inputFileKey || key == logFileKey || key == outputFileKey || key == fileKey;
}

/// Where a key that exists may stand.
std::string placeOf(const std::string& key, bool inSection) {
  if (isSectionKey(key)) {
    return "write it behind a basedn";
  }
  if (isDirectoryKey(key) && !inSection) {
    return "write it before every file name";
  }
  for (const std::string& global :
       {actionKey, inputFileKey, logFileKey, outputFileKey, splitKey, baseDirKey, fileDirKey}) {
    if (key == global) {
      return "write it before the first basedn";
    }
  }
  return "remove the line";
}

}  // namespace

ConfigurationReading::ConfigurationReading(const std::string& configFile,
                                           std::shared_ptr<LookedAtFiles> files)
    : foreignFormat_(foreignFormat(configFile)), lines_(configFile), files_(std::move(files)) {
  receiveMessages([this](const Message& message) { take(message); });
  config_ = std::make_unique<VarnelConfig>(
      configFile, files_, [this](const VarnelConfigException& fault) { take(fault); });
  try {
    config_->init();
  } catch (const VarnelConfigException& fault) {
    take(fault);  // the file cannot be read
  }
  countLinesOfLastSection();
  addForeignFormat();
  sortByLine(findings_);
  messages_.clear();
  isRead_ = true;
}

ConfigurationReading::~ConfigurationReading() {
  receiveMessages(nullptr);
}

void ConfigurationReading::passMessagesTo(MessageReceiver receiver) {
  receiveMessages(std::move(receiver));
}

void ConfigurationReading::take(const Message& message) {
  if (isRead_ || message.severity == 'E') {
    messages_.push_back(message);
    return;
  }
  Finding finding = findingOf(message, config_->configFile_, 0);
  if (message.number == repeatedUrl) {
    finding.line = lines_.lineOfRepeatedUrl(message.arguments[0], message.arguments[1]);
  }
  add(finding);
}

void ConfigurationReading::take(const VarnelConfigException& fault) {
  const std::vector<Message> said = std::move(messages_);
  messages_.clear();
  const bool isOfLine = fault.line() != 0 && fault.line() == config_->lastLine_;
  for (const Message& message : said) {
    if (!isFollowUp(message, fault, isOfLine)) {
      Finding finding = findingOf(message, config_->configFile_, fault.line());
      complete(finding, message);
      add(finding);
    }
    if (message.number == missingLine) {
      return;  // a fault of the section, and not of the line behind it
    }
    if (message.number == missingKey) {
      faultyKeys_.insert(message.arguments[0]);
    }
  }
  if (said.empty()) {
    add({true, config_->configFile_, fault.line(), fault.message(), "", ""});
  }
  if (isOfLine) {
    const std::string key = withoutMark(ConfigLine(config_->lastLineText_).key);
    faultyKeys_.insert(key);
    faultyKeys_.insert(nearestLegalKey(key, !config_->baseDNSections_.empty()));
  }
  if (config_->lineCount_ == 0) {
    faultyLines_.insert(config_->lastLine_);
  }
}

void ConfigurationReading::add(const Finding& finding) {
  if (std::find(findings_.begin(), findings_.end(), finding) == findings_.end()) {
    findings_.push_back(finding);
  }
}

/// Whether the fault is there only because of one that is told already. `isOfLine`: it is one of
/// the line that was read last.
bool ConfigurationReading::isFollowUp(const Message& message, const VarnelConfigException& fault,
                                      bool isOfLine) const {
  const ConfigLine line(config_->lastLineText_);
  const bool isInDirectory = line.value.find('/') == std::string::npos;
  switch (message.number) {
    case illegalKey:
      return (isOfLine && isSectionKey(line.key) && config_->baseDNSections_.empty() &&
              isFaulty(baseDNKey)) ||
             startsWithForeignBytes(fault.line());
    case illegalValue:
    case notOpened:
      if (fault.line() == 0) {
        // A default name, which counts only as the one that is configured could not be used.
        const std::string& name = message.arguments[0];
        return (name == logFileDefault && isFaulty(logFileKey)) ||
               (name == parentFileDefault && isFaulty(outputFileKey));
      }
      return isOfLine && isInDirectory && message.number == notOpened &&
             (isFaulty(baseDirKey) || isFaulty(fileDirKey));
    case missingKey:
      return isFaulty(message.arguments[0]);
    case missingLine: {
      const int section = lines_.sectionBefore(fault.line());
      return hasFaultyLine(section, fault.line()) || isFaulty(splitKey) ||
             isOfAnotherSection(section, fault.line());
    }
    default:
      return false;
  }
}

bool ConfigurationReading::hasFaultyLine(int section, int end) const {
  const auto found = faultyLines_.lower_bound(section);
  return found != faultyLines_.end() && *found < end;
}

/// Behind the last line, a section without any line is taken for the last one, wherever it stands.
bool ConfigurationReading::isOfAnotherSection(int section, int end) const {
  return end == config_->lineCount_ && section != 0 &&
         config_->getSplitType(lines_.baseDnOf(section)) != VarnelConfig::splitByNone &&
         !countsLastSection_;
}

/// So the lines of the real last one are not counted yet.
void ConfigurationReading::countLinesOfLastSection() {
  const int section = lines_.sectionBefore(config_->lineCount_);
  if (section == 0 || config_->numTokens_.empty() ||
      config_->getSplitType(lines_.baseDnOf(section)) == VarnelConfig::splitByNone) {
    return;
  }
  countsLastSection_ = true;
  try {
    config_->validateNumTokensList(config_->numTokens_, config_->currentTokenKeys_,
                                   config_->lineCount_);
  } catch (const VarnelConfigException& fault) {
    take(fault);
  }
}

bool ConfigurationReading::startsWithForeignBytes(int line) const {
  return line == 1 && !foreignFormat_.empty();
}

/// What the message alone does not know.
void ConfigurationReading::complete(Finding& finding, const Message& message) const {
  const SystemFailure& failure = notedSystemFailure();
  const bool isOfSystem =
      message.number == notReadable || message.number == notOpened || message.number == noDirectory;
  if (isOfSystem && !failure.reason.empty() && failure.file == message.arguments[0]) {
    finding.what += " (" + failure.reason + ")";
  }
  if (message.number == notReadable) {
    finding.value = "";
  }
  if (message.number == illegalKey) {
    const bool inSection = !config_->baseDNSections_.empty();
    const std::string key = ConfigLine(config_->lastLineText_).key;
    const std::string nearest = nearestLegalKey(key, inSection);
    finding.value = key;
    finding.cure = nearest.empty() ? placeOf(key, inSection) : "did you mean \"" + nearest + "\"?";
  }
  if (message.number == illegalValue && namesAFile(message.arguments[1])) {
    const std::string other = files_->earlierNameOf(message.arguments[0]);
    if (!other.empty()) {
      finding.what = "the file is another one of the run already";
      finding.cure = (other == message.arguments[0] ? "" : "known as " + other + ": ") +
                     std::string("name another file");
    }
  }
  if (message.number == missingKey && message.arguments[0] == baseDNKey) {
    finding.cure = "write at least one, with its servers";
  }
  if (message.number == missingLine) {
    finding.line = lines_.sectionBefore(finding.line);
  }
}

void ConfigurationReading::addForeignFormat() {
  if (foreignFormat_.empty()) {
    return;
  }
  const bool isPacked = isCompressed(foreignFormat_);
  if (isPacked) {
    findings_.clear();  // its bytes are no lines
  }
  add({true, config_->configFile_, isPacked ? 0 : 1,
       isPacked ? "the file does not hold plain text" : "the file begins with foreign bytes",
       foreignFormat_, isPacked ? "unpack it" : "remove the mark"});
}

bool ConfigurationReading::isUsable() const {
  return std::none_of(findings_.begin(), findings_.end(),
                      [](const Finding& finding) { return finding.isError; });
}

bool ConfigurationReading::printErrors() const {
  for (const Finding& finding : findings_) {
    if (finding.isError) {
      std::fprintf(stderr, "%s\n", lineOf(finding).c_str());
    }
  }
  return isUsable();
}
