#include "driver/prepareProcess.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "platform/messages/PrintMessage.h"

namespace {

/// How many of `count` descriptors can be had; none of them stays open.
std::size_t countOpenable(std::size_t count) {
  std::vector<int> opened;
  while (opened.size() < count) {
    const int file = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (file < 0) {
      break;
    }
    opened.push_back(file);
  }
  for (const int file : opened) {
    ::close(file);
  }
  return opened.size();
}

}  // namespace

void prepareProcess() {
  for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
    if (::fcntl(standard, F_GETFD) < 0) {
      // This takes the lowest free descriptor, which is the one that was closed.
      ::open("/dev/null", O_RDWR);
    }
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

bool canOpenFiles(std::size_t count) {
  struct rlimit limit {};
  if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
  }
  const std::size_t openable = countOpenable(count);
  if (openable < count) {
    PrintMessage(32, 1, 61, std::to_string(count).c_str(), std::to_string(openable).c_str());
  }
  return openable == count;
}
