// What a call prints.
#ifndef TESTSUPPORT_CAPTUREDOUTPUT_H
#define TESTSUPPORT_CAPTUREDOUTPUT_H

#include <gtest/gtest.h>

#include <string>

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

#endif
