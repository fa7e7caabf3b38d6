#include "admin/DiscardingObserver.h"

#include <algorithm>
#include <cerrno>
#include <exception>

#include "common/SystemFailure.h"
#include "ldifsplit/LdifSplit.h"
#include "ldifsplit/LdifSplitException.h"
#include "ldifsplit/SplitOutputException.h"
#include "platform/text/onOneLine.h"

namespace {

/// A failure that the system gave a reason for is none of the data.
void throwSystemFailure() {
  const SystemFailure& failure = notedSystemFailure();
  if (!failure.reason.empty()) {
    throw SystemError(text::onOneLine(failure.file) + ": " + failure.reason);
  }
}

ssize_t takeAll(void* /*cookie*/, const char* /*bytes*/, std::size_t size) {
  return static_cast<ssize_t>(size);
}

}  // namespace

DiscardingObserver::End DiscardingObserver::run(const std::string& file,
                                                const std::map<std::string, LdifActor*>& actors,
                                                const std::string& defaultOutputFile) {
  failure_.clear();
  errno = 0;
  noteSystemFailure(file);  // what was noted before is none of this run's
  End end{Stop::none, 0, ""};
  try {
    ldifsplit::ldifSplit(file, actors, defaultOutputFile, *this);
  } catch (const ldifsplit::LdifSplitException& stop) {
    if (!failure_.empty()) {
      throw SystemError(failure_);
    }
    end = stop.line() == 1 ? End{Stop::emptyInput, 1, "the input is empty"}
                           : End{Stop::noFile, stop.line(), stop.message()};
  } catch (const ldifsplit::SplitOutputException& stop) {
    end = {Stop::unwritableLine, stop.line(), "this line has no type and cannot be written"};
  }
  // What was not unpacked whole may look like anything.
  input_.requireWhole();
  if (!end.isWhole()) {
    throwSystemFailure();
  }
  return end;
}

AutoClose DiscardingObserver::openInput(const std::string& name) {
  // No other exception may leave a function that the engine calls.
  try {
    return input_.open(name);
  } catch (const std::exception& failure) {
    fail(SystemError(name + ": " + failure.what()));
  }
}

std::FILE* DiscardingObserver::openOutput(const std::string& name, char* buffer, std::size_t size) {
  if (name.empty()) {
    // The engine asks for a file without a name where a DN is below a base DN by one of its rules
    // and not by another. A split ends there.
    throw ldifsplit::LdifSplitException(0, "a DN has no output file");
  }
  cookie_io_functions_t functions{};
  functions.write = takeAll;
  std::FILE* const stream = ::fopencookie(nullptr, "w", functions);
  if (stream == nullptr) {
    fail(SystemError::of(name));
  }
  // A small buffer stays in the processor's first cache.
  constexpr std::size_t largestBuffer = 4096;
  std::setvbuf(stream, buffer, _IOFBF, std::min(size, largestBuffer));
  return stream;
}

bool DiscardingObserver::goesOnBehind(const ldifsplit::UnusableLine& line) {
  passesOver(line);
  return true;
}

void DiscardingObserver::fail(const SystemError& error) {
  failure_ = error.what();
  throw ldifsplit::LdifSplitException(0, failure_);
}
