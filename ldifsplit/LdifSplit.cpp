#include "ldifsplit/LdifSplit.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <set>
#include <unordered_map>
#include <vector>

#include "actors/LdifIterateException.h"
#include "actors/normalizeDn.h"
#include "common/AutoClose.h"
#include "common/AutoDelete.h"
#include "common/LineText.h"
#include "common/SystemFailure.h"
#include "ldifsplit/BaseDnIndex.h"
#include "ldifsplit/LineCounter.h"
#include "ldifsplit/LineReader.h"
#include "ldifsplit/OutputFileSet.h"
#include "ldifsplit/findNearestAncestor.h"
#include "ldifsplit/openNewLdif.h"
#include "ldifsplit/prefetchForWrite.h"
#include "platform/dirclient/NormalDn.h"
#include "platform/ldif/hasAttributeType.h"
#include "platform/ldif/ldifLineKind.h"
#include "platform/ldif/str_parse_line_v_or_bv.h"
#include "platform/messages/PrintMessage.h"
#include "platform/trace/trace.h"

namespace ldifsplit {
namespace {

/// A copy of a logical line for the parser, which takes it apart in place.
class ParseCopy {
 public:
  /// Copies the line, and a NUL behind it.
  char* set(const char* line, std::size_t size) {
    if (size + 1 > capacity_) {
      capacity_ = size + 1 + spare;
      copy_ = new char[capacity_];
    }
    char* const copy = copy_.get();
    std::memcpy(copy, line, size);
    copy[size] = '\0';
    return copy;
  }

 private:
  static constexpr std::size_t spare = 4096;  // so that few lines are longer than all before

  AutoDelete<char> copy_;
  std::size_t capacity_ = 0;
};

/// What the parser says of a line; the pointers reach into the parse copy.
struct ParsedLine {
  char* type = nullptr;
  char* value = nullptr;
  char* url = nullptr;
  int valueLength = 0;
  int encoding = 0;
  bool isLeftOut = false;

  bool opensRecord() const { return type != nullptr && std::strcmp(type, "dn") == 0; }
};

/// An output file of the current record.
struct Target {
  const std::string* name;
  std::FILE* stream;
  FileCounts* counts;
};

struct OpenFile {
  std::FILE* stream;
  FileCounts counts;
};

/// Lines of one record that stand together in the reader's block as the record's only file is to
/// have them, and are written in one go. A run is shorter than the stream's buffer, or a single
/// line: so the stream takes neither more nor less of it, before a write fails, than it would take
/// of the lines one by one.
struct Run {
  std::size_t size = 0;       // in bytes; 0: there is none
  bool startsRecord = false;  // a line feed, a line of "dn: ", a value and a line feed come first
  LineCounter firstLine;      // the number of the first logical line
};

class Splitter {
 public:
  Splitter(const std::string& inputFile, const std::map<std::string, LdifActor*>& actors,
           const std::string& defaultOutputFile, int firstLine, SplitObserver* observer)
      : observer_(observer),
        recordObserver_(observer != nullptr && observer->wantsRecords() ? observer : nullptr),
        inputFile_(inputFile),
        baseDNs_(keysOf(actors)),
        baseDnIndex_(baseDNs_),
        defaultOutputFile_(&defaultOutputFile),
        firstLine_(firstLine),
        input_(openInput()),
        reader_(input_.get(), watcher()),
        outputs_(countOutputFiles(actors), opener()) {
    for (const auto& actor : actors) {
      actors_.push_back(actor.second);
    }
  }

  void run();

 private:
  static std::vector<std::string> keysOf(const std::map<std::string, LdifActor*>& actors);
  static std::size_t countOutputFiles(const std::map<std::string, LdifActor*>& actors);
  SplitObserver& opener() const;
  AutoClose openInput() const;
  LineReader::Watcher watcher() const;
  void tellCounts() const;
  void readFirstLine();
  void readPhysicalLine();
  void readContinuations();
  void tellOfPieces(int line);

  void splitLine();
  void dropLine();
  bool isLineEnd() const;
  void copyAttributeLine();
  void startRecordAsWritten();
  void splitOtherLine();
  ParsedLine parseLine();
  bool startRecord(const char* dn, std::size_t size);
  void startRecordOfNoFile();
  bool leaveOut(bool isDn, const char* text, std::size_t size);
  void route(const char* dn, std::size_t size);
  FileNames outputFiles(std::size_t baseDn);
  OpenFile& openFile(const std::string& name, std::size_t baseDn);

  void extendRun();
  void takeOrdinaryLines();
  void writeRun();
  void writeRunLineByLine(std::size_t taken);
  void writeRecordStart(const char* dn, std::size_t size);
  void writeLine(const char* line, std::size_t size) const;

  void traceStart(const Target& target) const;
  void noteReadFailure() const;
  void traceReadError() const;
  [[noreturn]] void throwReadError() const;
  [[noreturn]] void throwInvalidLine() const;
  [[noreturn]] void throwWriteFailure(const Target& target, int line) const;
  void warnOfPiece() const;
  void warnOfMeaning(const char* line, std::size_t size);
  void warnOfLineBeforeTheFirstDn(const char* line, std::size_t size);
  void warnOfMissingLineEnd() const;

  SplitObserver* const observer_;        // a null pointer: nobody
  SplitObserver* const recordObserver_;  // the same, or a null pointer
  const std::string& inputFile_;
  const std::vector<std::string> baseDNs_;
  const BaseDnIndex baseDnIndex_;
  std::vector<LdifActor*> actors_;  // by the index of their base DN
  const std::string* const defaultOutputFile_;
  const int firstLine_;
  const AutoClose input_;
  LineReader reader_;
  LineCounter lineNumber_;  // of the last physical line of the logical line at hand
  ParseCopy parseCopy_;
  OutputFileSet outputs_;
  std::unordered_map<const std::string*, OpenFile> openFiles_;
  std::uint64_t records_ = 0;
  dirclient::NormalDn currentDn_;  // of the current record
  std::vector<Target> targets_;    // its files; none before the first record
  Run run_;                        // of its lines, held by the reader
  bool sawDn_ = false;             // a "dn" line was read

  /// Of the overlong physical line whose pieces are read: whether its start was dropped, whether
  /// the piece before the one at hand was, and whether the observer was told of it.
  struct {
    bool startWasDropped = false;
    bool lastWasDropped = false;
    bool wasTold = false;
  } overlong_;

  /// Which of the warnings that come once in a run were given.
  struct {
    bool dnInOtherCase = false;
    bool lineBeforeTheFirstDn = false;
    bool changeRecord = false;
  } warnings_;
};

std::vector<std::string> Splitter::keysOf(const std::map<std::string, LdifActor*>& actors) {
  std::vector<std::string> keys;
  keys.reserve(actors.size());
  for (const auto& actor : actors) {
    keys.push_back(actor.first);
  }
  return keys;
}

/// Those of the actors, each name once, and the default output file.
std::size_t Splitter::countOutputFiles(const std::map<std::string, LdifActor*>& actors) {
  std::set<std::string> names;
  for (const auto& actor : actors) {
    const std::vector<std::string>& files = actor.second->getOutputFiles();
    names.insert(files.begin(), files.end());
  }
  return names.size() + 1;
}

/// Who opens the input and the output files.
SplitObserver& Splitter::opener() const {
  static SplitObserver plain;
  return observer_ != nullptr ? *observer_ : plain;
}

AutoClose Splitter::openInput() const {
  AutoClose input = opener().openInput(inputFile_);
  if (input == nullptr) {
    noteSystemFailure(inputFile_);
    TRACE(traceError, "error opening ldif input file: %s. errno: %d\n", inputFile_.c_str(), errno);
    throw LdifSplitException(0, "Error opening input file");
  }
  return input;
}

/// Who is told of the blocks that are read; nobody where nobody watches the split.
LineReader::Watcher Splitter::watcher() const {
  if (observer_ == nullptr) {
    return {};
  }
  return [this](std::uint64_t bytes) { observer_->hasRead(bytes, records_); };
}

void Splitter::tellCounts() const {
  if (observer_ == nullptr) {
    return;
  }
  std::vector<FileCounts> counts;
  counts.reserve(openFiles_.size());
  for (const auto& file : openFiles_) {
    counts.push_back(file.second.counts);
  }
  observer_->ended(counts);
}

void Splitter::run() {
  readFirstLine();
  for (bool first = true; !reader_.atEnd(); first = false) {
    if (!first) {
      readPhysicalLine();
    }
    if (reader_.startsWithLaterPiece()) {
      tellOfPieces(lineNumber_.number());
    } else {
      overlong_.wasTold = false;
    }
    readContinuations();
    lineNumber_.next();
    splitLine();
  }
  writeRun();
  warnOfMissingLineEnd();
  outputs_.closeAll(lineNumber_.number());
  tellCounts();
}

void Splitter::readFirstLine() {
  if (!reader_.readLine()) {
    noteReadFailure();
    traceReadError();
    throw LdifSplitException(1, "Error reading input file");
  }
}

void Splitter::readPhysicalLine() {
  if (!reader_.readLine()) {
    noteReadFailure();
    writeRun();
    traceReadError();
    throwReadError();
  }
}

void Splitter::readContinuations() {
  while (reader_.nextIsBlank()) {
    if (!reader_.endsWithLineFeed()) {
      // The line that is complete now has not been counted yet.
      tellOfPieces(lineNumber_.number() + 1);
    }
    if (!reader_.appendLine()) {
      noteReadFailure();
      writeRun();
      throwReadError();
    }
    lineNumber_.next();
  }
}

/// Of an overlong physical line, once, by the number of its first piece.
void Splitter::tellOfPieces(int line) {
  if (observer_ != nullptr && !overlong_.wasTold) {
    overlong_.wasTold = true;
    observer_->readsInPieces(line);
  }
}

void Splitter::splitLine() {
  if (reader_.endsWithLineFeed() && isOrdinaryAttributeLine(reader_.data())) {
    copyAttributeLine();
    return;
  }
  const char first = *reader_.data();
  if (first == '#' || first == '\n' || first == '\0' || first == '\r') {
    writeRun();
    dropLine();
    return;
  }
  switch (ldifLineKind(reader_.data(), reader_.size())) {
    case LdifLineKind::attribute:
      warnOfMeaning(reader_.data(), reader_.size());
      copyAttributeLine();
      break;
    case LdifLineKind::dn:
      writeRun();
      startRecordAsWritten();
      break;
    case LdifLineKind::other:
      writeRun();
      splitOtherLine();
      break;
  }
}

/// A comment or an empty line.
void Splitter::dropLine() {
  if (!reader_.startsWithLaterPiece()) {
    overlong_.startWasDropped = true;
  } else if (!overlong_.lastWasDropped || !isLineEnd()) {
    warnOfPiece();
  }
  overlong_.lastWasDropped = true;
}

/// Whether the logical line is a line end and nothing else, but for lines that continue it.
bool Splitter::isLineEnd() const {
  const char* const line = reader_.data();
  return line[0] == '\n' || (reader_.size() > 1 && line[0] == '\r' && line[1] == '\n');
}

void Splitter::copyAttributeLine() {
  if (reader_.startsWithLaterPiece() && overlong_.startWasDropped) {
    warnOfPiece();
  }
  if (targets_.size() == 1) {
    extendRun();
    takeOrdinaryLines();
    return;
  }
  if (!sawDn_) {
    warnOfLineBeforeTheFirstDn(reader_.data(), reader_.size());
  }
  // Line by line, so that a failure leaves the files alike.
  writeLine(reader_.data(), reader_.size());
}

/// The line is what the output is to have.
void Splitter::startRecordAsWritten() {
  constexpr std::size_t typeSize = 4;  // of "dn: "
  const char* const dn = reader_.data() + typeSize;
  const std::size_t size = reader_.size() - typeSize - 1;
  if (!startRecord(dn, size)) {
    return;
  }
  if (targets_.size() == 1 && !reader_.startsWithLaterPiece()) {
    traceStart(targets_.front());
    run_ = Run{reader_.size() + 1, true, lineNumber_};
    reader_.holdWithLineFeedBefore();
    takeOrdinaryLines();
  } else {
    writeRecordStart(dn, size);
  }
}

void Splitter::splitOtherLine() {
  const ParsedLine line = parseLine();
  if (line.isLeftOut) {
    if (line.opensRecord()) {
      startRecordOfNoFile();
    }
    return;
  }
  if (!reader_.startsWithLaterPiece()) {
    overlong_.startWasDropped = false;
  }
  overlong_.lastWasDropped = false;
  if (line.opensRecord()) {
    const std::size_t size = std::strlen(line.value);
    if (startRecord(line.value, size)) {
      writeRecordStart(line.value, size);
    }
    return;
  }
  if (line.type == nullptr && !targets_.empty()) {
    // A line that parses without a type is one that cannot be written. The system has no part in
    // it.
    errno = 0;
    throwWriteFailure(targets_.front(), lineNumber_.number());
  }
  const std::size_t typeSize = line.type != nullptr ? std::strlen(line.type) : 0;
  warnOfMeaning(line.type, typeSize);
  if (reader_.startsWithLaterPiece() && overlong_.startWasDropped) {
    warnOfPiece();
  }
  if (!sawDn_) {
    warnOfLineBeforeTheFirstDn(line.type, typeSize);
  }
  writeLine(reader_.data(), reader_.size());
}

ParsedLine Splitter::parseLine() {
  ParsedLine line;
  const int result =
      str_parse_line_v_or_bv(parseCopy_.set(reader_.data(), reader_.size()), &line.type,
                             &line.value, &line.valueLength, 1, &line.url, &line.encoding);
  // The parser sees a text up to its first NUL. Behind one a DN would be cut short.
  const bool dnIsCut =
      line.opensRecord() && std::memchr(reader_.data(), '\0', reader_.size()) != nullptr;
  if (result == ldifLineInvalid || dnIsCut) {
    if (leaveOut(dnIsCut, reader_.data(), reader_.size())) {
      line.isLeftOut = true;
      return line;
    }
    PrintMessage(32, 1, 33, LineText(lineNumber_.number()).c_str(), inputFile_.c_str());
    throwInvalidLine();
  }
  return line;
}

/// Sets the targets of a new record; false, with the targets as they were, where it is to be
/// skipped.
bool Splitter::startRecord(const char* dn, std::size_t size) {
  currentDn_.normalize(dn, size, schemaInitialized);
  if (currentDn_.empty()) {
    if (leaveOut(true, dn, size)) {
      startRecordOfNoFile();
      return false;
    }
    throwInvalidLine();
  }
  sawDn_ = true;
  if (lineNumber_.number() < firstLine_) {
    return false;
  }
  try {
    route(dn, size);
  } catch (const LdifIterateException&) {
    throw LdifSplitException(lineNumber_.number(), "Caught LdifIterateException");
  }
  return true;
}

/// The lines of a record without a usable DN go nowhere.
void Splitter::startRecordOfNoFile() {
  sawDn_ = true;
  targets_.clear();
}

/// Whether the observer has the split go on behind an unusable line.
bool Splitter::leaveOut(bool isDn, const char* text, std::size_t size) {
  return observer_ != nullptr && observer_->goesOnBehind({lineNumber_.number(), isDn, text, size});
}

void Splitter::route(const char* dn, std::size_t size) {
  const std::size_t baseDn = findNearestAncestor(currentDn_, baseDnIndex_);
  const FileNames files = outputFiles(baseDn);
  targets_.clear();
  for (const std::string* name : files) {
    OpenFile& file = openFile(*name, baseDn);
    targets_.push_back({name, file.stream, &file.counts});
    ++file.counts.records;
    prefetchForWrite(file.stream);
  }
  ++records_;
  if (recordObserver_ != nullptr) {
    recordObserver_->startsRecord({lineNumber_.number(), dn, size, currentDn_, baseDn, files});
  }
}

FileNames Splitter::outputFiles(std::size_t baseDn) {
  return baseDn == BaseDnIndex::none ? FileNames(&defaultOutputFile_, 1)
                                     : actors_[baseDn]->getOutputFilename(currentDn_);
}

/// An output file, which is opened at its first record. A name that an actor lists is always at the
/// same place, so that the place finds the file again, and no other base DN's.
OpenFile& Splitter::openFile(const std::string& name, std::size_t baseDn) {
  OpenFile& file = openFiles_[&name];
  if (file.stream == nullptr) {
    outputs_.open(name);
    file = {outputs_.stream(name), {&name, baseDn, 0, 0}};
  }
  return file;
}

/// Adds the logical line at hand to the run.
void Splitter::extendRun() {
  if (run_.size + reader_.size() >= outputs_.bufferSize()) {
    writeRun();
  }
  if (run_.size == 0) {
    run_ = Run{0, false, lineNumber_};
    reader_.hold();
  }
  run_.size += reader_.size();
}

/// Adds the lines that follow to the run, as far as nothing about them needs a look.
void Splitter::takeOrdinaryLines() {
  if (run_.size >= outputs_.bufferSize()) {
    return;
  }
  const LineReader::Taken taken = reader_.takeOrdinaryLines(outputs_.bufferSize() - 1 - run_.size);
  lineNumber_.next(taken.lines);
  run_.size += taken.size;
}

void Splitter::writeRun() {
  if (run_.size == 0) {
    return;
  }
  if (recordObserver_ != nullptr) {
    recordObserver_->wrote(reader_.held(), run_.size);
  }
  targets_.front().counts->bytes += run_.size;
  const std::size_t taken = std::fwrite(reader_.held(), 1, run_.size, targets_.front().stream);
  if (taken != run_.size) {
    writeRunLineByLine(taken);
  }
  run_.size = 0;
  reader_.release();
}

/// Goes on in a run of which the stream has taken so many bytes and refused the next, as if it had
/// come line by line.
void Splitter::writeRunLineByLine(std::size_t taken) {
  const Target& target = targets_.front();
  const char* const begin = reader_.held();
  const char* const end = begin + run_.size;
  const auto write = [&](const char* piece, const char* pieceEnd) {
    if (begin + taken >= pieceEnd) {
      return true;
    }
    const bool isNew = begin + taken < piece;
    return isNew &&
           std::fwrite(piece, static_cast<std::size_t>(pieceEnd - piece), 1, target.stream) == 1;
  };
  LineCounter number = run_.firstLine;
  const char* at = begin;
  if (run_.startsRecord) {
    // A failure before the line feed stays in the stream and shows at the latest when it is closed.
    const char* const value = begin + 5;  // behind "\ndn: "
    const auto* const valueEnd =
        static_cast<const char*>(std::memchr(value, '\n', static_cast<std::size_t>(end - value)));
    write(begin, value);
    write(value, valueEnd);
    if (!write(valueEnd, valueEnd + 1)) {
      throwWriteFailure(target, number.number());
    }
    at = valueEnd + 1;
  }
  for (bool isFirst = !run_.startsRecord; at != end; isFirst = false) {
    const char* const line = at;
    do {
      const auto left = static_cast<std::size_t>(end - at);
      const std::size_t piece = std::min(left, LineReader::maximalPhysicalLine);
      const void* const lineFeed = std::memchr(at, '\n', piece);
      at = lineFeed != nullptr ? static_cast<const char*>(lineFeed) + 1 : at + piece;
      if (!isFirst) {
        number.next();
      }
    } while (at != end && *at == ' ');
    if (!write(line, at)) {
      throwWriteFailure(target, number.number());
    }
  }
}

/// Writes the start of a record to each of its files, and warns where it is that of a later piece.
void Splitter::writeRecordStart(const char* dn, std::size_t size) {
  if (recordObserver_ != nullptr) {
    recordObserver_->wrote("\ndn: ", 5);
    recordObserver_->wrote(dn, size);
    recordObserver_->wrote("\n", 1);
  }
  for (const Target& target : targets_) {
    traceStart(target);
    target.counts->bytes += 5 + size + 1;
    // A failure here stays in the stream and shows at the latest when it is closed.
    static_cast<void>(std::fwrite("\ndn: ", 5, 1, target.stream));
    static_cast<void>(std::fwrite(dn, size, 1, target.stream));
    if (std::fwrite("\n", 1, 1, target.stream) != 1) {
      throwWriteFailure(target, lineNumber_.number());
    }
  }
  if (reader_.startsWithLaterPiece()) {
    warnOfPiece();
  }
}

void Splitter::writeLine(const char* line, std::size_t size) const {
  if (recordObserver_ != nullptr && !targets_.empty()) {
    recordObserver_->wrote(line, size);
  }
  for (const Target& target : targets_) {
    target.counts->bytes += size;
    if (std::fwrite(line, size, 1, target.stream) != 1) {
      throwWriteFailure(target, lineNumber_.number());
    }
  }
}

void Splitter::traceStart(const Target& target) const {
  TRACE(traceError, "putting %s in file %s\n", currentDn_.text().c_str(), target.name->c_str());
}

/// Behind a read that gave nothing. The end of the input is no fault of the system.
void Splitter::noteReadFailure() const {
  errno = reader_.readError();
  noteSystemFailure(inputFile_);
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

void Splitter::throwWriteFailure(const Target& target, int line) const {
  noteSystemFailure(*target.name);
  throwFileWriteException<SplitOutputException>(*target.name, line);
}

/// A piece of an overlong line changed the output: it was dropped, or taken for the start of a
/// record or, of a comment, for data.
void Splitter::warnOfPiece() const {
  PrintMessage(32, 1, 60, LineText(lineNumber_.number()).c_str(), inputFile_.c_str());
}

/// Lines that are copied as attributes, and may be meant as more than that. `line` is the line or
/// its type alone.
void Splitter::warnOfMeaning(const char* line, std::size_t size) {
  if (size < 2) {
    return;
  }
  const bool mayBeDn = (line[0] | 0x20) == 'd' && (line[1] | 0x20) == 'n';
  const bool mayBeChangeType = (line[0] | 0x20) == 'c' && (line[1] | 0x20) == 'h';
  if (mayBeDn && !warnings_.dnInOtherCase && hasAttributeType(line, size, "dn")) {
    warnings_.dnInOtherCase = true;
    PrintMessage(32, 1, 66, LineText(lineNumber_.number()).c_str(), inputFile_.c_str());
  }
  if (mayBeChangeType && !warnings_.changeRecord && hasAttributeType(line, size, "changetype")) {
    warnings_.changeRecord = true;
    PrintMessage(32, 1, 70, LineText(lineNumber_.number()).c_str(), inputFile_.c_str());
  }
}

/// `line` is the line or its type alone.
void Splitter::warnOfLineBeforeTheFirstDn(const char* line, std::size_t size) {
  if (!warnings_.lineBeforeTheFirstDn && !hasAttributeType(line, size, "version")) {
    warnings_.lineBeforeTheFirstDn = true;
    PrintMessage(32, 1, 67, LineText(lineNumber_.number()).c_str(), inputFile_.c_str());
  }
}

/// At the end of the input.
void Splitter::warnOfMissingLineEnd() const {
  if (!reader_.endsWithLineFeed()) {
    // An input of a single line is not even looked at.
    const int line = std::max(lineNumber_.number(), 1);
    PrintMessage(32, 1, 69, LineText(line).c_str(), inputFile_.c_str());
  }
}

}  // namespace

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated"

void ldifSplit(const std::string& inputFile, std::map<std::string, LdifActor*> actors,
               const std::string& defaultOutputFile, const std::string& /*further*/,
               int firstLine) throw(LdifSplitException, SplitOutputException) {
  TRACE(traceProgress, "entering function ldifsplit::ldifSplit(%s)\n", inputFile.c_str());
  Splitter(inputFile, actors, defaultOutputFile, firstLine, nullptr).run();
}

void ldifSplit(const std::string& inputFile, const std::map<std::string, LdifActor*>& actors,
               const std::string& defaultOutputFile,
               SplitObserver& observer) throw(LdifSplitException, SplitOutputException) {
  TRACE(traceProgress, "entering function ldifsplit::ldifSplit(%s)\n", inputFile.c_str());
  Splitter(inputFile, actors, defaultOutputFile, 0, &observer).run();
}

#pragma GCC diagnostic pop

}  // namespace ldifsplit
