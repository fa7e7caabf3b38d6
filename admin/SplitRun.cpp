#include "admin/SplitRun.h"

#include <algorithm>
#include <csignal>
#include <exception>

#include "actors/ldifActorFactory.h"
#include "admin/endUnexpectedly.h"
#include "common/SystemFailure.h"
#include "config/configKeys.h"
#include "driver/ShareTable.h"
#include "driver/foreignFormat.h"
#include "driver/prepareProcess.h"
#include "driver/terminalWidth.h"
#include "driver/warnOfMissingEntries.h"
#include "ldifsplit/LdifSplit.h"
#include "ldifsplit/openNewLdif.h"
#include "platform/text/onOneLine.h"

namespace {

/// The run of the process, for those who are called without an argument.
SplitRun* theRun = nullptr;

const char* nameOf(int signal) {
  switch (signal) {
    case SIGINT:
      return "SIGINT";
    case SIGTERM:
      return "SIGTERM";
    default:
      return "SIGHUP";
  }
}

const char* const nothingChanged = "; no output file was created or changed";

}  // namespace

SplitRun::SplitRun(ConfigurationReading& reading, bool replace, bool isWatched)
    : reading_(reading),
      config_(reading.config()),
      isWatched_(isWatched),
      files_(replace),
      progress_(stderr),
      line_(0),
      signals_([this](int signal) { undo(signal); }) {
  theRun = this;
  before_ = std::set_terminate(&SplitRun::endUnexpectedly);
}

SplitRun::~SplitRun() {
  {
    // Before the signals are let through again, of which one may end the process at once.
    const std::unique_lock<std::mutex> held = signals_.lock();
    files_.remove();
  }
  std::set_terminate(before_);
  theRun = nullptr;
}

ExitStatus SplitRun::run() {
  reading_.passMessagesTo(
      [this](const Message& message) { say(lineOf(findingOf(message, config_.configFile_, 0))); });
  ExitStatus status = ExitStatus::systemFailed;
  {
    const std::map<std::string, LdifActor*> actors = ldifActorFactory(config_);
    stage();
    warnOfTooManyFiles(outputs_.size() + 1);
    status = split(actors);
    if (status == ExitStatus::good) {
      warnOfMissingEntries(config_.baseDNlist(), actors);
    }
  }
  if (status != ExitStatus::good) {
    return status;
  }
  openUnusedStreams();
  status = publish();
  if (status == ExitStatus::good && isWatched_) {
    progress_.clear();
    printShares();
  }
  return status;
}

/// Every file that varnel would create, with what it would have without an entry.
void SplitRun::stage() {
  for (const LookedAtFiles::Use& use : reading_.files().uses()) {
    if (use.role != FileRole::output || shares_.count(use.name) != 0) {
      continue;
    }
    outputs_.push_back(use.name);
    shares_[use.name];
    if (use.kind == FileKind::stream) {
      streams_[use.name] = false;
      continue;
    }
    const std::unique_lock<std::mutex> held = signals_.lock();
    files_.add(use.name);
  }
  const std::string* const file = files_.temporaryOf(parentFileDefault);
  if (config_.defaultOutputFile_ == parentFileDefault && file != nullptr) {
    const std::unique_lock<std::mutex> held = signals_.lock();
    try {
      const int closed = std::fclose(openNewLdif<ldifsplit::LdifSplitException>(file->c_str()));
      if (closed != 0) {
        noteSystemFailure(*file);
        throw ldifsplit::LdifSplitException(0, "");
      }
    } catch (const ldifsplit::LdifSplitException&) {
      throw SystemError(parentFileDefault + ": " + notedSystemFailure().reason);
    }
  }
}

ExitStatus SplitRun::split(const std::map<std::string, LdifActor*>& actors) {
  int line = 0;
  std::string failedOutput;
  try {
    ldifsplit::ldifSplit(config_.inputFile_, actors, config_.defaultOutputFile_, *this);
    line = line_;
  } catch (const ldifsplit::LdifSplitException& failure) {
    line = failure.line();
    const std::string failed = files_.nameOf(notedSystemFailure().file);
    if (unusableLine_.empty() && !notedSystemFailure().reason.empty() &&
        failed != config_.inputFile_) {
      failedOutput = failed;
    } else {
      try {
        input_.requireWhole();
      } catch (const SystemError& fault) {
        return stop(line, fault.what(), ExitStatus::systemFailed);
      }
      return stopForInput(line);
    }
  } catch (const ldifsplit::SplitOutputException& failure) {
    line = failure.line();
    failedOutput = files_.nameOf(failure.message());
  }
  if (!failedOutput.empty()) {
    const std::string& reason = notedSystemFailure().reason;
    return stop(line, failedOutput + ": " + (reason.empty() ? "it cannot be written" : reason),
                ExitStatus::systemFailed);
  }
  try {
    input_.requireWhole();
  } catch (const SystemError& fault) {
    return stop(line, fault.what(), ExitStatus::systemFailed);
  }
  return ExitStatus::good;
}

/// The input cannot be opened, read, or split.
ExitStatus SplitRun::stopForInput(int line) {
  const std::string format = foreignFormat(config_.inputFile_);
  if (!unusableLine_.empty()) {
    const bool hasMark = line == 1 && !isCompressed(format);
    return stop(line, unusableLine_ + (hasMark && !format.empty() ? " (it is " + format + ")" : ""),
                ExitStatus::wrong);
  }
  const std::string& reason = notedSystemFailure().reason;
  if (reason.empty()) {
    return stop(line, "the input is empty", ExitStatus::wrong);
  }
  return stop(line, config_.inputFile_ + ": " + reason, ExitStatus::systemFailed);
}

ExitStatus SplitRun::stop(int line, const std::string& why, ExitStatus status) {
  say("varnelctl: stopped at line " + std::to_string(line) + " of " +
      text::onOneLine(config_.inputFile_) + ": " + text::onOneLine(why) +
      (files_.isAsBefore() ? nothingChanged : ""));
  return status;
}

/// Who reads from a pipe that gets no entry waits for its end, too.
void SplitRun::openUnusedStreams() {
  for (const auto& stream : streams_) {
    if (!stream.second && AutoClose(std::fopen(stream.first.c_str(), "w")) == nullptr) {
      throw SystemError::of(stream.first);
    }
  }
}

/// From here on a signal comes too late.
ExitStatus SplitRun::publish() {
  std::string why;
  std::vector<std::string> left;
  ExitStatus status = ExitStatus::good;
  {
    const std::unique_lock<std::mutex> held = signals_.lock();
    try {
      left = files_.publish();
      signals_.disarm();
    } catch (const NameTaken& failure) {
      why = failure.what();
      status = ExitStatus::wrong;
    } catch (const SystemError& failure) {
      why = failure.what();
      status = ExitStatus::systemFailed;
    }
  }
  for (const std::string& name : left) {
    say("varnelctl: " + text::onOneLine(name) + ": an old output file cannot be removed");
  }
  return status == ExitStatus::good ? status : stop(line_, why, status);
}

AutoClose SplitRun::openInput(const std::string& name) {
  return input_.open(name);
}

std::FILE* SplitRun::openOutput(const std::string& name, char* buffer, std::size_t size) {
  const std::string* const temporary = files_.temporaryOf(name);
  if (temporary == nullptr) {
    streams_[name] = true;
    return SplitObserver::openOutput(name, buffer, size);  // which may wait for a reader
  }
  // A file that undo() has removed is not to come back.
  const std::unique_lock<std::mutex> held = signals_.lock();
  return SplitObserver::openOutput(*temporary, buffer, size);
}

void SplitRun::startsRecord(const ldifsplit::SplitRecord& record) {
  line_.store(record.line, std::memory_order_relaxed);
}

void SplitRun::hasRead(std::uint64_t bytes, std::uint64_t records) {
  if (!isWatched_) {
    return;
  }
  const std::unique_lock<std::mutex> held = signals_.lock();
  const bool isKnown = input_.size() > 0;
  progress_.show({isKnown ? input_.taken() : bytes, input_.size(), records});
}

void SplitRun::ended(const std::vector<ldifsplit::FileCounts>& files) {
  for (const ldifsplit::FileCounts& counts : files) {
    Share& share = shares_[*counts.file];
    share.entries += counts.records;
    share.bytes += counts.bytes;
  }
}

bool SplitRun::goesOnBehind(const ldifsplit::UnusableLine& line) {
  unusableLine_ = "the line is no valid LDIF";
  if (line.isDn) {
    unusableLine_ = "the dn line has no usable DN";
    line_ = line.number;
  }
  return false;
}

/// On standard error, where the progress line stands.
void SplitRun::say(const std::string& line) {
  const std::unique_lock<std::mutex> held = signals_.lock();
  progress_.clear();
  std::fprintf(stderr, "%s\n", line.c_str());
}

void SplitRun::printShares() const {
  ShareTable table;
  for (const std::string& name : outputs_) {
    const Share& share = shares_.at(name);
    table.add(name, share.entries, share.bytes);
  }
  std::fputs(table.text(terminalWidth(stderr)).c_str(), stderr);
}

/// On the thread of the signals.
void SplitRun::undo(int signal) {
  progress_.clear();
  files_.remove();
  std::fprintf(stderr, "varnelctl: stopped at line %d of %s by %s%s\n", line_.load(),
               text::onOneLine(config_.inputFile_).c_str(), nameOf(signal),
               files_.isAsBefore() ? nothingChanged : "");
}

void SplitRun::endUnexpectedly() {
  if (theRun != nullptr) {
    theRun->progress_.clear();
    theRun->files_.remove();
  }
  ::endUnexpectedly(nothingChanged);
}
