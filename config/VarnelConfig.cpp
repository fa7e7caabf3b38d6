#include "config/VarnelConfig.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>
#include <utility>

#include "config/PreparedFiles.h"
#include "config/configErrors.h"
#include "config/configKeys.h"
#include "platform/files/files.h"
#include "platform/messages/PrintMessage.h"
#include "platform/trace/trace.h"

namespace {

struct Free {
  void operator()(char* text) const { std::free(text); }
};

}  // namespace

VarnelConfig::VarnelConfig(std::string configFile, bool recovery)
    : VarnelConfig(std::move(configFile), std::make_shared<PreparedFiles>(recovery), nullptr) {
  recovery_ = recovery;
}

VarnelConfig::VarnelConfig(std::string configFile, std::shared_ptr<ConfiguredFiles> files,
                           FaultReceiver receiver)
    : recovery_(false),
      logFile_(logFileDefault),
      defaultOutputFile_(parentFileDefault),
      configFile_(std::move(configFile)),
      files_(std::move(files)),
      receiveFault_(std::move(receiver)) {
  const std::unique_ptr<char, Free> directory(getCurrentWorkingDirectory());
  if (directory != nullptr) {
    cwd_ = directory.get();
  }
  baseDir_ = cwd_;
  TRACE(traceProgress, "Using CWD as BaseDirectory: %s\n", cwd_.c_str());
}

void VarnelConfig::init() {
  tokenKeys_.push_back(URLKey);
  tokenKeys_.push_back(fileKey);
  readLines();
  if (logFile_.empty()) {
    logFile_ = baseDir_ + "/" + logFileDefault;
  }
  checkFinalInvariants();
  warnOfRepeatedUrls();
}

/// One step of the reading, at whose first fault it ends.
void VarnelConfig::attempt(const std::function<void()>& step) const {
  if (receiveFault_ == nullptr) {
    step();
    return;
  }
  try {
    step();
  } catch (const VarnelConfigException& fault) {
    receiveFault_(fault);
  }
}

std::vector<std::string> VarnelConfig::baseDNlist() const {
  std::vector<std::string> names;
  names.reserve(baseDNSections_.size());
  for (const auto& section : baseDNSections_) {
    names.push_back(section.first);
  }
  return names;
}

VarnelConfig::splitByEnum VarnelConfig::getSplitType(std::string baseDN) const {
  const auto found = splitTypes_.find(baseDN);
  return found != splitTypes_.end() ? found->second : splitByNone;
}

bool VarnelConfig::validateNumTokensList(const std::vector<int>& counts,
                                         std::vector<std::string>* tokenKeys, int line) const {
  if (counts.empty()) {
    // Where no section has had a token line yet, there is no list of token keys.
    throwMissingKeyError(tokenKeys != nullptr ? tokenKeys->front() : URLKey, line);
  }
  int wanted = counts.front();
  for (std::size_t i = 1; i < counts.size(); ++i) {
    if (counts[i] < wanted) {
      throwMissingKeyError((*tokenKeys)[i], line);
    }
    if (counts[i] > wanted) {
      throwMissingKeyError((*tokenKeys)[i - 1], line);
    }
    wanted = counts[i];
  }
  return true;
}

void VarnelConfig::checkInvariants(std::string /*key*/, std::string /*value*/, int /*line*/) const {
}

void VarnelConfig::checkFinalInvariants() const {
  attempt([this] { files_->requireDirectory(baseDir_, 0); });
  const std::vector<std::string> baseDNs = baseDNlist();
  attempt([&] {
    if (baseDNs.empty()) {
      throwMissingKeyError(baseDNKey, 0);
    }
  });
  attempt([this] {
    if (actionType_ == noActionType) {
      throwMissingKeyError(actionKey, 0);
    }
  });
  attempt([this] {
    if (inputFile_.empty()) {
      throwMissingKeyError(inputFileKey, 0);
    }
  });
  attempt([this] {
    if (defaultOutputFile_ == parentFileDefault) {
      files_->prepareDefaultOutputFile(defaultOutputFile_);
    }
  });
  attempt([this] { files_->tryLogFile(logFile_); });
  // A base DN without "url" and "file" lines has no split type. A following "basedn" line would
  // have found the fault, so that it is the last base DN of the file, and numTokens_ still has the
  // counts of the one before. It has no counts of its own, which is reported as a missing "url".
  const bool lastIsEmpty = std::any_of(baseDNs.begin(), baseDNs.end(), [&](const std::string& dn) {
    return getSplitType(dn) == splitByNone;
  });
  attempt([&] {
    if (!baseDNs.empty()) {
      validateNumTokensList(lastIsEmpty ? std::vector<int>() : numTokens_, currentTokenKeys_,
                            lineCount_);
    }
  });
}

/// Two servers of one base DN that have the same URL are one server: most likely a line that was
/// copied and not changed.
void VarnelConfig::warnOfRepeatedUrls() const {
  for (const auto& section : baseDNSections_) {
    std::set<std::string> urls;
    for (const TokenRecord& server : section.second) {
      if (server.empty() || server.front().first != URLKey) {
        continue;
      }
      const std::string& url = server.front().second;
      if (!urls.insert(url).second) {
        PrintMessage(32, 1, 71, section.first.c_str(), url.c_str());
        break;
      }
    }
  }
}
