// What a call prints, and what it is to print.
#ifndef TESTSUPPORT_CAPTUREDOUTPUT_H
#define TESTSUPPORT_CAPTUREDOUTPUT_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

struct CapturedOutput {
  std::string out;
  std::string err;
};

/// Runs `call` and returns what it printed. The call must not throw.
template <typename Call>
CapturedOutput captured(Call call) {
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  call();
  CapturedOutput output;
  output.out = ::testing::internal::GetCapturedStdout();
  output.err = ::testing::internal::GetCapturedStderr();
  return output;
}

/// The line that the catalog makes of a message of set 32.
std::string messageLine(int number, const std::vector<std::string>& arguments);

/// Turns the tool's traces on for a scope.
class TracesOn {
 public:
  TracesOn();
  ~TracesOn();
  TracesOn(const TracesOn&) = delete;
  TracesOn& operator=(const TracesOn&) = delete;

 private:
  unsigned int before_;
};

#endif
