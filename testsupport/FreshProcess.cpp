#include "testsupport/FreshProcess.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

// Each failure goes through the pipe as file, line and text, each with a NUL behind it.
constexpr char separator = '\0';

std::string runIntercepted(const std::function<void()>& call) {
  ::testing::TestPartResultArray results;
  {
    const ::testing::ScopedFakeTestPartResultReporter reporter(
        ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
    try {
      call();
    } catch (...) {
      ADD_FAILURE() << "an exception left the fresh process";
    }
  }
  std::string report;
  for (int i = 0; i < results.size(); ++i) {
    const ::testing::TestPartResult& result = results.GetTestPartResult(i);
    if (result.failed()) {
      report += result.file_name() != nullptr ? result.file_name() : "";
      report += separator + std::to_string(result.line_number()) + separator + result.message();
      report += separator;
    }
  }
  return report;
}

void send(int pipe, const std::string& report) {
  for (std::string::size_type sent = 0; sent < report.size();) {
    const ssize_t count = ::write(pipe, report.data() + sent, report.size() - sent);
    if (count <= 0) {
      std::_Exit(3);
    }
    sent += static_cast<std::string::size_type>(count);
  }
}

std::string receive(int pipe) {
  std::string report;
  char block[4096];
  for (ssize_t count = 0; (count = ::read(pipe, block, sizeof block)) > 0;) {
    report.append(block, static_cast<std::string::size_type>(count));
  }
  return report;
}

void replay(const std::string& report) {
  std::istringstream stream(report);
  std::string file;
  std::string line;
  std::string message;
  while (std::getline(stream, file, separator) && std::getline(stream, line, separator) &&
         std::getline(stream, message, separator)) {
    ADD_FAILURE_AT(file.c_str(), std::stoi(line)) << message;
  }
}

}  // namespace

void inFreshProcess(const std::function<void()>& call) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  // What is buffered here would be written by both processes.
  static_cast<void>(std::fflush(nullptr));
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::close(ends[0]);
    send(ends[1], runIntercepted(call));
    // An ordinary exit, so that a leak checker and a coverage run see this process too.
    std::exit(0);
  }
  ::close(ends[1]);
  replay(receive(ends[0]));
  ::close(ends[0]);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "the fresh process was ended by signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0) << "the exit status of the fresh process";
}
