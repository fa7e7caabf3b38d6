// What the tool prints during a call of it.
#ifndef FUZZ_CAPTUREDMESSAGES_H
#define FUZZ_CAPTUREDMESSAGES_H

#include <stdio.h>
#include <stdlib.h>

#include <string>

#include "fuzz/require.h"

/// From its making to end(), whatever goes to the streams stdout and stderr of the C library is
/// kept in memory. Descriptors 1 and 2 stay what they are, so that a sanitizer's report is seen.
class CapturedMessages {
 public:
  CapturedMessages() : out_(stdout), err_(stderr) {
    std::FILE* const stream = ::open_memstream(&text_, &size_);
    require(stream != nullptr, "there is memory for the messages");
    stdout = stream;
    stderr = stream;
  }
  ~CapturedMessages() { end(); }
  CapturedMessages(const CapturedMessages&) = delete;
  CapturedMessages& operator=(const CapturedMessages&) = delete;

  /// Ends the capture. What was printed, of both streams in the order in which it came.
  std::string end() {
    if (stdout != out_) {
      std::fclose(stdout);
      stdout = out_;
      stderr = err_;
      printed_.assign(text_, size_);
      std::free(text_);
    }
    return printed_;
  }

 private:
  std::FILE* out_;
  std::FILE* err_;
  char* text_ = nullptr;
  std::size_t size_ = 0;
  std::string printed_;
};

#endif
