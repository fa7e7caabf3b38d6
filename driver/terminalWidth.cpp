#include "driver/terminalWidth.h"

#include <sys/ioctl.h>
#include <unistd.h>

std::size_t terminalWidth(std::FILE* stream) {
  constexpr std::size_t usual = 80;
  struct winsize size {};
  const bool isKnown = ::ioctl(::fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return (isKnown ? size.ws_col : usual) - 1;
}

bool isTerminal(std::FILE* stream) {
  return ::isatty(::fileno(stream)) == 1;
}
