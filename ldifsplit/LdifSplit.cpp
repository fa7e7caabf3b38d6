#include "ldifsplit/LdifSplit.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "actors/LdifEntry.h"
#include "actors/LdifIterateException.h"
#include "common/AutoClose.h"
#include "common/AutoDelete.h"
#include "common/LineText.h"
#include "ldifsplit/LineCounter.h"
#include "ldifsplit/LineReader.h"
#include "ldifsplit/OutputFileSet.h"
#include "ldifsplit/findNearestAncestor.h"
#include "ldifsplit/openNewLdif.h"
#include "platform/ldif/str_parse_line_v_or_bv.h"
#include "platform/messages/PrintMessage.h"
#include "platform/trace/trace.h"

namespace ldifsplit {
namespace {

/// A logical line twice: the parser takes one copy apart, the other stays as it was read.
class LineCopies {
 public:
  void set(const char* line, std::size_t size) {
    if (size + 1 > capacity_) {
      capacity_ = size + 1 + spare;
      parse_ = new char[capacity_];
      output_ = new char[capacity_];
    }
    size_ = size;
    copyTo(parse_.get(), line);
    copyTo(output_.get(), line);
  }

  char* forParser() { return parse_.get(); }
  const char* asRead() const { return output_.get(); }
  std::size_t size() const { return size_; }

 private:
  void copyTo(char* copy, const char* line) const {
    std::memcpy(copy, line, size_);
    copy[size_] = '\0';
  }

  static constexpr std::size_t spare = 4096;  // so that few lines are longer than all before

  AutoDelete<char> parse_;
  AutoDelete<char> output_;
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;
};

/// What the parser says of a line; the pointers reach into the parse copy.
struct ParsedLine {
  char* type = nullptr;
  char* value = nullptr;
  char* url = nullptr;
  int valueLength = 0;
  int encoding = 0;

  bool opensRecord() const { return type != nullptr && std::strcmp(type, "dn") == 0; }
};

/// An output file of the current record.
struct Target {
  const std::string* name;
  std::FILE* stream;
};

class Splitter {
 public:
  Splitter(const std::string& inputFile, const std::map<std::string, LdifActor*>& actors,
           const std::string& defaultOutputFile, int firstLine)
      : inputFile_(inputFile),
        actors_(actors),
        defaultOutputFile_(defaultOutputFile),
        firstLine_(firstLine) {
    for (const auto& actor : actors_) {
      baseDNs_.push_back(actor.first);
    }
  }

  void run();

 private:
  AutoClose openInput() const;
  void readPhysicalLine(LineReader& reader);
  void readContinuations(LineReader& reader);
  void splitLine(const LineReader& reader);
  ParsedLine parseLine();
  bool startRecord(const char* dn);
  void route();
  void writeRecordStart(const Target& target, const char* dn) const;
  void writeAsRead(const Target& target, const char* line, std::size_t size) const;
  void traceReadError() const;
  [[noreturn]] void throwReadError() const;
  [[noreturn]] void throwInvalidLine() const;
  void warnOfPiece() const;

  const std::string& inputFile_;
  const std::map<std::string, LdifActor*>& actors_;
  const std::string& defaultOutputFile_;
  const int firstLine_;
  std::vector<std::string> baseDNs_;
  OutputFileSet outputs_;
  LineCounter lineNumber_;
  LineCopies line_;
  LdifEntry current_;                                // names the current record
  std::unique_ptr<std::vector<std::string>> files_;  // of the current record; none before the first
  std::vector<Target> targets_;                      // the same with their streams
};

void Splitter::run() {
  const AutoClose input = openInput();
  LineReader reader(input.get());
  if (!reader.readLine()) {
    traceReadError();
    throw LdifSplitException(1, "Error reading input file");
  }
  for (bool first = true; !reader.atEnd(); first = false) {
    if (!first) {
      readPhysicalLine(reader);
    }
    readContinuations(reader);
    lineNumber_.next();
    splitLine(reader);
  }
  outputs_.closeAll(lineNumber_.number());
}

AutoClose Splitter::openInput() const {
  AutoClose input(std::fopen(inputFile_.c_str(), "r"));
  if (input == nullptr) {
    TRACE(traceError, "error opening ldif input file: %s. errno: %d\n", inputFile_.c_str(), errno);
    throw LdifSplitException(0, "Error opening input file");
  }
  return input;
}

void Splitter::readPhysicalLine(LineReader& reader) {
  if (!reader.readLine()) {
    traceReadError();
    throwReadError();
  }
}

void Splitter::readContinuations(LineReader& reader) {
  while (reader.nextIsBlank()) {
    if (!reader.appendLine()) {
      throwReadError();
    }
    lineNumber_.next();
  }
}

void Splitter::splitLine(const LineReader& reader) {
  const char first = *reader.data();
  if (first == '#' || first == '\n' || first == '\0' || first == '\r') {
    if (reader.startsWithLaterPiece()) {
      warnOfPiece();
    }
    return;
  }
  if (isPlainAttributeLine(reader.data(), reader.size())) {
    for (const Target& target : targets_) {
      writeAsRead(target, reader.data(), reader.size());
    }
    return;
  }
  line_.set(reader.data(), reader.size());
  const ParsedLine line = parseLine();
  if (line.opensRecord()) {
    if (!startRecord(line.value)) {
      return;
    }
    for (const Target& target : targets_) {
      writeRecordStart(target, line.value);
    }
    if (reader.startsWithLaterPiece()) {
      warnOfPiece();
    }
    return;
  }
  for (const Target& target : targets_) {
    if (line.type == nullptr) {
      // A line that parses without a type is one that cannot be written.
      throwFileWriteException<SplitOutputException>(*target.name, lineNumber_.number());
    }
    writeAsRead(target, line_.asRead(), line_.size());
  }
}

ParsedLine Splitter::parseLine() {
  ParsedLine line;
  const int result = str_parse_line_v_or_bv(line_.forParser(), &line.type, &line.value,
                                            &line.valueLength, 1, &line.url, &line.encoding);
  // The parser sees a text up to its first NUL. Behind one a DN would be cut short.
  const bool dnIsCut =
      line.opensRecord() && std::memchr(line_.asRead(), '\0', line_.size()) != nullptr;
  if (result == ldifLineInvalid || dnIsCut) {
    PrintMessage(32, 1, 33, LineText(lineNumber_.number()).c_str(), inputFile_.c_str());
    throwInvalidLine();
  }
  return line;
}

/// Sets the targets of a new record; false, with the targets as they were, where it is to be
/// skipped.
bool Splitter::startRecord(const char* dn) {
  current_.setName(dn);
  if (current_.getName().empty()) {
    throwInvalidLine();
  }
  if (lineNumber_.number() < firstLine_) {
    return false;
  }
  try {
    route();
  } catch (const LdifIterateException&) {
    throw LdifSplitException(lineNumber_.number(), "Caught LdifIterateException");
  }
  return true;
}

void Splitter::route() {
  const std::string* baseDn = findNearestAncestor(current_, baseDNs_);
  if (baseDn == nullptr) {
    files_.reset(new std::vector<std::string>(1, defaultOutputFile_));
  } else {
    files_.reset(actors_.at(*baseDn)->getOutputFilename(current_));
  }
  // Each stream is found once for the whole record; a file that is not open yet is opened.
  targets_.clear();
  for (const std::string& name : *files_) {
    targets_.push_back({&name, outputs_.open(name)});
  }
}

void Splitter::writeRecordStart(const Target& target, const char* dn) const {
  TRACE(traceError, "putting %s in file %s\n", current_.getName().c_str(), target.name->c_str());
  // A failure here stays in the stream and shows at the latest when it is closed.
  ::fputs_unlocked("\ndn: ", target.stream);
  ::fputs_unlocked(dn, target.stream);
  if (::fwrite_unlocked("\n", 1, 1, target.stream) != 1) {
    throwFileWriteException<SplitOutputException>(*target.name, lineNumber_.number());
  }
}

void Splitter::writeAsRead(const Target& target, const char* line, std::size_t size) const {
  if (::fwrite_unlocked(line, size, 1, target.stream) != 1) {
    throwFileWriteException<SplitOutputException>(*target.name, lineNumber_.number());
  }
}

void Splitter::traceReadError() const {
  TRACE(traceError, "error reading ldif input file: %s\n", inputFile_.c_str());
}

void Splitter::throwReadError() const {
  throw LdifSplitException(lineNumber_.number(), "Error reading input file");
}

void Splitter::throwInvalidLine() const {
  throw LdifSplitException(lineNumber_.number(), "Invalid LDIF line detected");
}

/// A piece of an overlong line was dropped, or taken for the start of a record.
void Splitter::warnOfPiece() const {
  PrintMessage(32, 1, 60, LineText(lineNumber_.number()).c_str(), inputFile_.c_str());
}

}  // namespace

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated"

void ldifSplit(const std::string& inputFile, std::map<std::string, LdifActor*> actors,
               const std::string& defaultOutputFile, const std::string& /*further*/,
               int firstLine) throw(LdifSplitException, SplitOutputException) {
  TRACE(traceProgress, "entering function ldifsplit::ldifSplit(%s)\n", inputFile.c_str());
  Splitter(inputFile, actors, defaultOutputFile, firstLine).run();
}

#pragma GCC diagnostic pop

}  // namespace ldifsplit
