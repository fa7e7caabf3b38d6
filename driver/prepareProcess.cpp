#include "driver/prepareProcess.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "platform/messages/PrintMessage.h"

namespace {

/// How many descriptors below `limit` are free; none is looked at behind the first `enough`.
std::size_t countFree(rlim_t limit, std::size_t enough) {
  std::size_t count = 0;
  for (int file = 0; static_cast<rlim_t>(file) < limit && count < enough; ++file) {
    count += ::fcntl(file, F_GETFD) < 0 ? 1 : 0;
  }
  return count;
}

}  // namespace

void prepareProcess() {
  for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
    if (::fcntl(standard, F_GETFD) < 0) {
      // This takes the lowest free descriptor, which is the one that was closed.
      ::open("/dev/null", O_RDWR);
    }
  }
  ::umask(S_IRWXG | S_IRWXO);
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

void warnOfTooManyFiles(std::size_t count) {
  struct rlimit limit {};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
    return;
  }
  if (limit.rlim_cur < limit.rlim_max) {
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = limit.rlim_max;
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
      limit.rlim_cur = before;
    }
  }
  const std::size_t free = countFree(limit.rlim_cur, count);
  if (free < count) {
    const rlim_t wanted = limit.rlim_cur - free + count;
    PrintMessage(32, 1, 61, std::to_string(wanted).c_str(), std::to_string(limit.rlim_cur).c_str());
  }
}
