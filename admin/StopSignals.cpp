#include "admin/StopSignals.h"

#include <pthread.h>

#include <ctime>
#include <utility>

namespace {

/// Sent to the thread alone, to end it.
constexpr int wakeUp = SIGTERM;

bool isIgnored(int signal) {
  struct sigaction action {};
  return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

StopSignals::StopSignals(std::function<void(int signal)> undo) : undo_(std::move(undo)) {
  ::sigemptyset(&signals_);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (!isIgnored(signal) || signal == wakeUp) {
      ::sigaddset(&signals_, signal);
    }
  }
  ::pthread_sigmask(SIG_BLOCK, &signals_, &before_);
  thread_ = std::thread([this] { wait(); });
}

StopSignals::~StopSignals() {
  {
    const std::unique_lock<std::mutex> held = lock();
    isDone_ = true;
  }
  ::pthread_kill(thread_.native_handle(), wakeUp);
  thread_.join();
  if (!isArmed_) {
    // One that the thread had no time to take.
    const struct timespec none {};
    while (::sigtimedwait(&signals_, nullptr, &none) > 0) {
    }
  }
  ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

/// The thread.
void StopSignals::wait() {
  for (;;) {
    int signal = 0;
    if (::sigwait(&signals_, &signal) != 0) {
      continue;
    }
    const std::unique_lock<std::mutex> held = lock();
    if (isDone_) {
      return;
    }
    if (!isArmed_ || isIgnored(signal)) {
      continue;
    }
    undo_(signal);
    // The lock is never released: the process ends here.
    static_cast<void>(std::signal(signal, SIG_DFL));
    sigset_t this_one;
    ::sigemptyset(&this_one);
    ::sigaddset(&this_one, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &this_one, nullptr);
    ::raise(signal);
  }
}
