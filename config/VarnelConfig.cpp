#include "config/VarnelConfig.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

#include "actors/normalizeDn.h"
#include "common/AutoClose.h"
#include "config/ConfigLine.h"
#include "config/VarnelConfigException.h"
#include "config/addBaseDirToFilename.h"
#include "config/configErrors.h"
#include "config/configKeys.h"
#include "ldifsplit/openNewLdif.h"
#include "platform/dirclient/dirclient.h"
#include "platform/files/files.h"
#include "platform/messages/PrintMessage.h"
#include "platform/trace/trace.h"

namespace {

struct Free {
  void operator()(char* text) const { std::free(text); }
};

using MallocText = std::unique_ptr<char, Free>;

/// Lower case and no white space anywhere, as the values that are keywords are compared.
void toKeyword(std::string& value) {
  std::for_each(value.begin(), value.end(), toLower);
  value.erase(std::remove_if(value.begin(), value.end(), WhitespacePredicate()), value.end());
}

bool isLdapUrl(const std::string& value) {
  const MallocText copy(::strdup(value.c_str()));
  return ldap_is_ldap_url(copy.get()) != 0;
}

bool namesAFile(const std::string& key) {
  return key == inputFileKey || key == logFileKey || key == fileKey || key == outputFileKey;
}

/// Prints message 13 and throws unless `directory` is one.
void requireDirectory(const std::string& directory, int line) {
  if (isDirectory(directory.c_str()) == 0) {
    PrintMessage(32, 1, 13, directory.c_str());
    throwFileWriteException<VarnelConfigException>(directory, line);
  }
}

/// An output file of a run: it must exist in recovery mode, and must not without.
void requireFileOfRun(const std::string& name, bool recovery, int line) {
  const bool exists = doesFileExist(name.c_str()) != 0;
  if (recovery && !exists) {
    throwUnableToOpenFileError(name, line);
  }
  if (!recovery && exists) {
    throwFileExistsError(name, line);
  }
}

/// The same for a file that the configuration names; without recovery mode it is created.
void prepareOutputFile(const std::string& name, bool recovery, int line) {
  requireFileOfRun(name, recovery, line);
  if (!recovery && clearFile(name.c_str()) == 0) {
    throwUnableToOpenFileError(name, line);
  }
}

}  // namespace

VarnelConfig::VarnelConfig(std::string configFile, bool recovery)
    : recovery_(recovery),
      logFile_(logFileDefault),
      defaultOutputFile_(parentFileDefault),
      configFile_(std::move(configFile)) {
  const MallocText directory(getCurrentWorkingDirectory());
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
}

void VarnelConfig::readLines() {
  std::ifstream file(configFile_);
  const auto requireReadable = [&](bool readable) {
    if (!readable) {
      PrintMessage(32, 1, 2, configFile_.c_str());
      throw VarnelConfigException(0, "File not found or cannot be opened");
    }
  };
  requireReadable(file.is_open());
  int lineNumber = 1;
  for (std::string text; std::getline(file, text); ++lineNumber) {
    ConfigLine line(text);
    if (line.key == dnKey || line.key == subtreeDNKey || line.key == baseDNKey) {
      const std::string asRead = line.value;
      if (nLdifActor::normalizeDn(line.value).empty()) {
        throwIllegalValueError(line.key, asRead, lineNumber);
      }
    }
    if (!line.isSkipped()) {
      TRACE(traceProgress, "reading conf file: %s | %s\n", line.key.c_str(), line.value.c_str());
      processLine(line.key, line.value, lineNumber);
    }
    checkInvariants(line.key, line.value, lineNumber);
  }
  // A directory opens, and fails at the first read.
  requireReadable(!file.bad());
  lineCount_ = lineNumber;
}

void VarnelConfig::processLine(std::string key, std::string value, int line) {
  static splitByEnum splitByMethod = splitByNone;
  static bool inDNSection = false;
  static bool haveSeenAFile = false;

  if (key == baseDNKey) {
    inDNSection = true;
  }
  if (key.empty() && value.empty()) {
    return;
  }
  if (value.empty()) {
    throwIllegalValueError(key, value, line);
  }
  if (key.empty()) {
    throwIllegalKeyError(key, line, "");
  }
  if (namesAFile(key)) {
    haveSeenAFile = true;
  }
  if (inDNSection) {
    processBaseDNSection(key, value, line, splitByMethod);
  } else if (key == actionKey) {
    setActionType(key, value, line);
  } else if (key == inputFileKey) {
    setInputFile(value, line);
  } else if (key == logFileKey) {
    setLogFile(value, line);
  } else if (key == outputFileKey) {
    setDefaultOutputFile(value, line);
  } else if (key == splitKey) {
    if (splitByMethod != splitByNone) {
      throwMultipleKeyError(key, line);
    }
    toKeyword(value);
    if (value != numServersKey && value != rdnHashKey) {
      throwIllegalValueError(key, value, line);
    }
    splitByMethod = splitByHash;
  } else if (key == baseDirKey || key == fileDirKey) {
    if (cwd_ != baseDir_) {
      throwMultipleKeyError(key, line);
    }
    if (haveSeenAFile) {
      throwIllegalKeyError(key, line, "");
    }
    setBaseDirectory(value, line);
  } else {
    throwIllegalKeyError(key, line, "");
  }
}

void VarnelConfig::setActionType(const std::string& key, std::string value, int line) {
  if (actionType_ != noActionType) {
    throwMultipleKeyError(key, line);
  }
  toKeyword(value);
  if (value != "splitonly") {
    throwIllegalValueError(key, value, line);
  }
  actionType_ = splitOnly;
}

void VarnelConfig::setInputFile(std::string value, int line) {
  if (!inputFile_.empty()) {
    throwMultipleKeyError(inputFileKey, line);
  }
  addBaseDirToFilename(value, baseDir_);
  if (doesFileExist(value.c_str()) == 0) {
    throwUnableToOpenFileError(value, line);
  }
  inputFile_ = value;
}

void VarnelConfig::setLogFile(std::string value, int line) {
  if (logFile_ != logFileDefault) {
    throwMultipleKeyError(logFileKey, line);
  }
  addBaseDirToFilename(value, baseDir_);
  if (doesFileExist(value.c_str()) == 0) {
    if (recovery_) {
      throwFileWriteException<VarnelConfigException>(value, line);
    }
    // Where it cannot be created, the open among the final checks fails.
    clearFile(value.c_str());
  }
  logFile_ = value;
}

void VarnelConfig::setDefaultOutputFile(std::string value, int line) {
  if (defaultOutputFile_ != parentFileDefault) {
    throwMultipleKeyError(outputFileKey, line);
  }
  addBaseDirToFilename(value, baseDir_);
  prepareOutputFile(value, recovery_, line);
  defaultOutputFile_ = value;
}

void VarnelConfig::setBaseDirectory(const std::string& value, int line) {
  TRACE(traceProgress, "default baseDir_ is %s\n", baseDir_.c_str());
  requireDirectory(value, line);
  baseDir_ = value;
}

void VarnelConfig::processBaseDNSection(std::string key, std::string value, int line,
                                        splitByEnum method) {
  static std::string currentBaseDN;
  static std::vector<int> currentNumTokens;
  static std::vector<std::string>* currentTokens = nullptr;
  static bool firstDN = true;

  if (key == baseDNKey) {
    if (nLdifActor::normalizeDn(value).empty()) {
      throwIllegalValueError(key, value, line);
    }
    if (baseDNSections_.count(value) != 0) {
      throwMultipleValueError(key, value, line);
    }
    currentBaseDN = value;
    baseDNSections_[currentBaseDN].resize(1);
    if (firstDN) {
      firstDN = false;
    } else {
      validateNumTokensList(currentNumTokens, currentTokens, line);
    }
    currentNumTokens.clear();
    return;
  }
  if (method == splitByNone) {
    throwMissingKeyError(splitKey, 0);
  }
  splitTypes_[currentBaseDN] = method;
  if (method == splitByHash) {
    currentTokens = &tokenKeys_;
  }
  currentNumTokens.resize(currentTokens->size());
  const auto token = std::find(currentTokens->begin(), currentTokens->end(), key);
  if (token == currentTokens->end()) {
    throwIllegalKeyError(key, line, "");
  }
  // Room for the record of the most frequent key so far and for the next: a section ends with a
  // spare.
  std::vector<TokenRecord>& section = baseDNSections_[currentBaseDN];
  const int largest = *std::max_element(currentNumTokens.begin(), currentNumTokens.end());
  section.resize(static_cast<std::size_t>(largest) + 1);
  for (const int count : currentNumTokens) {
    section[static_cast<std::size_t>(count)].resize(currentTokens->size());
  }
  if (key == fileKey) {
    prepareServerFile(value, line);
  } else if (key == URLKey && !isLdapUrl(value)) {
    throwIllegalValueError(key, value, line);
  }
  const auto slot = static_cast<std::size_t>(token - currentTokens->begin());
  section[static_cast<std::size_t>(currentNumTokens[slot])][slot] = {key, value};
  ++currentNumTokens[slot];
  numTokens_ = currentNumTokens;
  currentTokenKeys_ = currentTokens;
}

void VarnelConfig::prepareServerFile(std::string& value, int line) const {
  addBaseDirToFilename(value, baseDir_);
  prepareOutputFile(value, recovery_, line);
  // In recovery mode too the file starts empty; the split reports one that cannot be opened, where
  // an entry goes to it.
  const AutoClose emptied(std::fopen(value.c_str(), "w"));
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
  requireDirectory(baseDir_, 0);
  const std::vector<std::string> baseDNs = baseDNlist();
  if (baseDNs.empty()) {
    throwMissingKeyError(baseDNKey, 0);
  }
  if (actionType_ == noActionType) {
    throwMissingKeyError(actionKey, 0);
  }
  if (inputFile_.empty()) {
    throwMissingKeyError(inputFileKey, 0);
  }
  if (defaultOutputFile_ == parentFileDefault) {
    prepareDefaultOutputFile();
  }
  const AutoClose log(std::fopen(logFile_.c_str(), "a"));
  if (log == nullptr) {
    throwFileWriteException<VarnelConfigException>(logFile_, 0);
  }
  // Only the last section can have come so far without a token line; numTokens_ counts an earlier
  // one.
  const bool lastIsEmpty = std::any_of(baseDNs.begin(), baseDNs.end(), [&](const std::string& dn) {
    return getSplitType(dn) == splitByNone;
  });
  validateNumTokensList(lastIsEmpty ? std::vector<int>() : numTokens_, currentTokenKeys_,
                        lineCount_);
}

void VarnelConfig::prepareDefaultOutputFile() const {
  requireFileOfRun(defaultOutputFile_, recovery_, 0);
  if (!recovery_) {
    std::FILE* file = openNewLdif<VarnelConfigException>(defaultOutputFile_.c_str());
    if (std::fclose(file) != 0) {
      throwFileWriteException<VarnelConfigException>(defaultOutputFile_, 0);
    }
  }
}
