#include "actors/LdifActor.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "actors/AncestorWalk.h"
#include "actors/normalizeDn.h"
#include "common/AutoClose.h"
#include "common/AutoDelete.h"
#include "platform/ldif/str_parse_line_v_or_bv.h"

namespace {

bool endsRecord(const char* line) {
  return *line == '\n' || *line == '\0';
}

}  // namespace

LdifActor::LdifActor(const std::string& base, const std::vector<ServerPairs>& servers)
    : serverLists(servers), baseDn(base) {
  normalBaseDn_.normalize(base.c_str(), std::strlen(base.c_str()), schemaInitialized);
  AncestorWalk walk(normalBaseDn_);
  do {
    atOrAboveBaseDn_.emplace_back(walk.data(), walk.size());
  } while (walk.up());
}

std::vector<std::string>* LdifActor::getOutputFilename(const std::string& dn) {
  LdifEntry entry;
  entry.setName(dn);
  LdifEntry base;
  base.setName(baseDn);
  if (entry.getName() == base.getName() || base.hasAncestor(entry)) {
    return new std::vector<std::string>(outputFiles);
  }
  return doGetOutputFilename(entry.getName());
}

FileNames LdifActor::getOutputFilename(const dirclient::NormalDn& dn) {
  (dn.text() == normalBaseDn_.text() ? wasAskedForBaseDn_ : wasAskedForOtherDn_) = true;
  const bool atOrAbove = std::find(atOrAboveBaseDn_.begin(), atOrAboveBaseDn_.end(), dn.text()) !=
                         atOrAboveBaseDn_.end();
  return atOrAbove ? allOutputFiles() : outputFilesOf(dn);
}

FileNames LdifActor::allOutputFiles() {
  if (allOutputFiles_.size() != outputFiles.size()) {
    allOutputFiles_.clear();
    for (const std::string& name : outputFiles) {
      allOutputFiles_.push_back(&name);
    }
  }
  return FileNames(allOutputFiles_.data(), allOutputFiles_.size());
}

FileNames LdifActor::outputFilesOf(const dirclient::NormalDn& dn) {
  const std::unique_ptr<std::vector<std::string>> names(doGetOutputFilename(dn.text()));
  listed_.clear();
  for (const std::string& name : *names) {
    listed_.push_back(&*listedNames_.insert(name).first);
  }
  return FileNames(listed_.data(), listed_.size());
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated"

void LdifActor::ldifIterate(const std::string& inputFile) throw(LdifIterateException) {
  activated = true;
  if (needsInputPass) {
    doLdifIterate(inputFile);
  }
}

void LdifActor::doLdifIterate(const std::string& inputFile) throw(LdifIterateException) {
  const AutoClose input(std::fopen(inputFile.c_str(), "r"));
  if (input == nullptr) {
    throw LdifIterateException(0, "Error opening input file");
  }
  const AutoDelete<char> line(new char[1]);
  unsigned int capacity = 0;
  int lineNumber = 0;
  std::unique_ptr<LdifEntry> entry(new LdifEntry);
  char* buffer = line.get();
  while (getNextLine(&buffer, &capacity, input.get()) != -1) {
    ++lineNumber;
    if (*buffer == '#') {
      continue;
    }
    if (endsRecord(buffer)) {
      if (!entry->getName().empty()) {
        receiveEntry(*entry);
        entry->clear();
      }
      continue;
    }
    char* type = nullptr;
    char* value = nullptr;
    char* url = nullptr;
    int valueLength = 0;
    int encoding = 0;
    const int result =
        str_parse_line_v_or_bv(buffer, &type, &value, &valueLength, 1, &url, &encoding);
    if (result == ldifLineSkipped) {
      continue;
    }
    if (result < 0) {
      throw LdifIterateException(lineNumber, "Invalid LDIF line detected");
    }
    if (std::strcmp(type, "dn") == 0) {
      // The entry before it is dropped unless an empty line ended it.
      entry.reset(new LdifEntry);
      entry->setName(value);
    } else {
      entry->addAttribute(type, value);
    }
  }
  if (!entry->getName().empty()) {
    receiveEntry(*entry);
  }
}

#pragma GCC diagnostic pop

int getNextLine(char** buffer, unsigned int* capacity, std::FILE* stream) {
  if (std::fgets(*buffer, static_cast<int>(*capacity), stream) == nullptr) {
    return -1;
  }
  return static_cast<int>(std::strlen(*buffer));
}
