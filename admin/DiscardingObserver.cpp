#include "admin/DiscardingObserver.h"

#include <cerrno>

#include "common/SystemFailure.h"
#include "ldifsplit/LdifSplit.h"
#include "ldifsplit/LdifSplitException.h"
#include "ldifsplit/SplitOutputException.h"
#include "platform/text/onOneLine.h"

namespace {

/// A failure that the system gave a reason for is none of the data.
DiscardingObserver::End endAt(int line, const std::string& why) {
  const SystemFailure& failure = notedSystemFailure();
  if (!failure.reason.empty()) {
    throw SystemError(text::onOneLine(failure.file) + ": " + failure.reason);
  }
  return {false, line, why};
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
  End end{true, 0, ""};
  try {
    ldifsplit::ldifSplit(file, actors, defaultOutputFile, *this);
  } catch (const ldifsplit::LdifSplitException& stop) {
    if (!failure_.empty()) {
      throw SystemError(failure_);
    }
    end = endAt(stop.line(), stop.line() == 1 ? "the input is empty" : stop.message());
  } catch (const ldifsplit::SplitOutputException& stop) {
    end = endAt(stop.line(), "this line has no type and cannot be written");
  }
  if (end.isWhole) {
    input_.requireWhole();
  }
  return end;
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
  std::setvbuf(stream, buffer, _IOFBF, size);
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
