// The parser of the configuration file: the part of VarnelConfig that goes from line to line.

#include <algorithm>
#include <fstream>
#include <memory>

#include "actors/normalizeDn.h"
#include "common/LineText.h"
#include "common/SystemFailure.h"
#include "config/ConfigLine.h"
#include "config/VarnelConfig.h"
#include "config/VarnelConfigException.h"
#include "config/WhitespacePredicate.h"
#include "config/addBaseDirToFilename.h"
#include "config/configErrors.h"
#include "config/configKeys.h"
#include "config/prepareOutputFile.h"
#include "config/toLower.h"
#include "platform/dirclient/dirclient.h"
#include "platform/messages/PrintMessage.h"
#include "platform/trace/trace.h"

namespace {

/// Lower case and no white space anywhere, as the values that are keywords are compared.
void toKeyword(std::string& value) {
  std::for_each(value.begin(), value.end(), toLower);
  value.erase(std::remove_if(value.begin(), value.end(), WhitespacePredicate()), value.end());
}

bool isLdapUrl(std::string value) {
  return ldap_is_ldap_url(&value[0]) != 0;
}

struct RecordDeleter {
  void operator()(ldap_escDN* record) const { free_ldap_escDN(&record); }
};

/// Whether the first RDN of a DN has several values, as in cn=a+sn=b,o=c.
bool startsWithSeveralValues(const std::string& dn) {
  const std::unique_ptr<ldap_escDN, RecordDeleter> record(dn_normalize_light_esc(dn.c_str()));
  return record != nullptr && record->firstRDN != nullptr &&
         record->firstRDN->firstValue->next != nullptr;
}

/// Neither quotation marks nor comments behind a value mean anything here, though they do in many
/// other configuration files.
void warnOfMarks(const ConfigLine& line, int number) {
  const std::string& value = line.value;
  const bool isQuoted = value.size() > 1 && value.front() == '"' && value.back() == '"';
  const bool hasComment = value.find(" #") != std::string::npos;
  if ((line.key == fileKey || line.key == URLKey || line.key == baseDNKey) &&
      (isQuoted || hasComment)) {
    PrintMessage(32, 1, 72, line.key.c_str(), value.c_str(), LineText(number).c_str());
  }
}

bool namesAFile(const std::string& key) {
  return key == inputFileKey || key == logFileKey || key == fileKey || key == outputFileKey;
}

/// Makes the records of a section ready for its next line. `counts` tells how often each of its
/// keys has occurred. The list has one record more than the most frequent key has occurred: that
/// key's next line goes into the last one. In a complete section all keys have occurred equally
/// often, so that its last line leaves one record behind those of the servers, which stays empty:
/// the spare one.
void makeRoom(std::vector<VarnelConfig::TokenRecord>& section, const std::vector<int>& counts) {
  const int largest = *std::max_element(counts.begin(), counts.end());
  section.resize(static_cast<std::size_t>(largest) + 1);
  for (const int count : counts) {
    section[static_cast<std::size_t>(count)].resize(counts.size());
  }
}

}  // namespace

void VarnelConfig::readLines() {
  std::ifstream file(configFile_);
  const auto requireReadable = [&](bool readable) {
    if (!readable) {
      noteSystemFailure(configFile_);
      PrintMessage(32, 1, 2, configFile_.c_str());
      throw VarnelConfigException(0, "File not found or cannot be opened");
    }
  };
  requireReadable(file.is_open());
  requireReadable(files_.add(configFile_, FileRole::configuration));
  int lineNumber = 1;
  for (std::string text; std::getline(file, text); ++lineNumber) {
    lastLine_ = lineNumber;
    lastLineText_ = text;
    ConfigLine line(text);
    warnOfMarks(line, lineNumber);
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
  requireInputFile(value, files_, line);
  inputFile_ = value;
}

void VarnelConfig::setLogFile(std::string value, int line) {
  if (logFile_ != logFileDefault) {
    throwMultipleKeyError(logFileKey, line);
  }
  addBaseDirToFilename(value, baseDir_);
  prepareLogFile(value, recovery_, files_, line);
  logFile_ = value;
}

void VarnelConfig::setDefaultOutputFile(std::string value, int line) {
  if (defaultOutputFile_ != parentFileDefault) {
    throwMultipleKeyError(outputFileKey, line);
  }
  addBaseDirToFilename(value, baseDir_);
  prepareOutputFile(value, recovery_, files_, line);
  defaultOutputFile_ = value;
}

void VarnelConfig::setBaseDirectory(const std::string& value, int line) {
  TRACE(traceProgress, "default baseDir_ is %s\n", baseDir_.c_str());
  requireDirectory(value, line);
  baseDir_ = value;
}

/// Behind the global keys it is known which files have their default names. A server file that is
/// one of them would be empty before they are looked at, behind the last line.
void VarnelConfig::addFilesOfDefaultNames() {
  if (defaultOutputFile_ == parentFileDefault) {
    files_.add(defaultOutputFile_, FileRole::output);
  }
  if (logFile_ == logFileDefault) {
    files_.add(logFile_, FileRole::log);
  }
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
    if (startsWithSeveralValues(value)) {
      PrintMessage(32, 1, 65, value.c_str(), LineText(line).c_str());
    }
    if (firstDN) {
      firstDN = false;
      addFilesOfDefaultNames();
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
  std::vector<TokenRecord>& section = baseDNSections_[currentBaseDN];
  makeRoom(section, currentNumTokens);
  if (key == fileKey) {
    addBaseDirToFilename(value, baseDir_);
    prepareServerFile(value, recovery_, files_, line);
  } else if (key == URLKey && !isLdapUrl(value)) {
    throwIllegalValueError(key, value, line);
  }
  const auto slot = static_cast<std::size_t>(token - currentTokens->begin());
  section[static_cast<std::size_t>(currentNumTokens[slot])][slot] = {key, value};
  ++currentNumTokens[slot];
  numTokens_ = currentNumTokens;
  currentTokenKeys_ = currentTokens;
}
