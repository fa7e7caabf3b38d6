#include "admin/StopSignals.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "testsupport/FreshProcess.h"

namespace {

/// How a process ends that does this.
template <typename Task>
int statusOf(Task task) {
  const pid_t child = ::fork();
  if (child == 0) {
    task();
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return status;
}

class StopSignalsOf : public ::testing::TestWithParam<int> {};

TEST_P(StopSignalsOf, EndTheProcessBehindTheUndoing) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  const int status = statusOf([&] {
    const StopSignals signals([&](int signal) {
      const char byte = static_cast<char>(signal);
      EXPECT_EQ(::write(ends[1], &byte, 1), 1);
    });
    ::kill(::getpid(), GetParam());
    ::pause();
  });
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), GetParam());
  char byte = 0;
  ASSERT_EQ(::read(ends[0], &byte, 1), 1);
  EXPECT_EQ(byte, GetParam());
}

TEST_P(StopSignalsOf, WaitForTheLockAndAreDroppedOnceDisarmed) {
  const int status = statusOf([] {
    StopSignals signals([](int) {});
    {
      const std::unique_lock<std::mutex> held = signals.lock();
      ::kill(::getpid(), GetParam());
      signals.disarm();
    }
  });
  EXPECT_EQ(status, 0);
}

INSTANTIATE_TEST_SUITE_P(Each, StopSignalsOf, ::testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST(StopSignals, LeaveThingsAsTheyWere) {
  inFreshProcess([] {
    sigset_t mask;
    {
      const StopSignals signals([](int) { ADD_FAILURE(); });
      ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, nullptr, &mask), 0);
      EXPECT_EQ(::sigismember(&mask, SIGINT), 1);
    }
    ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, nullptr, &mask), 0);
    EXPECT_EQ(::sigismember(&mask, SIGINT), 0);
  });
}

TEST(StopSignals, LeaveAnIgnoredOneIgnored) {
  const int status = statusOf([] {
    std::signal(SIGHUP, SIG_IGN);
    std::signal(SIGTERM, SIG_IGN);
    const StopSignals signals([](int) { ::_exit(1); });
    ::kill(::getpid(), SIGHUP);
    ::kill(::getpid(), SIGTERM);
    ::usleep(10000);
  });
  EXPECT_EQ(status, 0);
}

}  // namespace
