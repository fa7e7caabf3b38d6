// A terminal that a test looks at.
#ifndef TESTSUPPORT_TERMINAL_H
#define TESTSUPPORT_TERMINAL_H

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

/// A pseudo-terminal of one line of so many columns; 0: it does not know its width.
class Terminal {
 public:
  explicit Terminal(unsigned short columns) : main_(::posix_openpt(O_RDWR | O_NOCTTY)) {
    ::grantpt(main_);
    ::unlockpt(main_);
    stream_ = std::fopen(::ptsname(main_), "w");
    resize(columns);
  }
  ~Terminal() {
    std::fclose(stream_);
    ::close(main_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void resize(unsigned short columns) const {
    struct winsize size {};
    size.ws_row = 1;
    size.ws_col = columns;
    ::ioctl(main_, TIOCSWINSZ, &size);
  }

  std::FILE* stream() const { return stream_; }

  /// What was written since the last call; waits for something.
  std::string shown() const {
    std::array<char, 4096> bytes{};
    const ssize_t size = ::read(main_, bytes.data(), bytes.size());
    return {bytes.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
  }

 private:
  int main_;
  std::FILE* stream_;
};

#endif
