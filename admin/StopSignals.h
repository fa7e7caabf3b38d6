// What becomes of a run that is told to stop.
#ifndef ADMIN_STOPSIGNALS_H
#define ADMIN_STOPSIGNALS_H

#include <csignal>
#include <functional>
#include <mutex>
#include <thread>

/// While it lives, SIGINT, SIGTERM and SIGHUP end the process in good order, whatever it waits for:
/// a thread of its own takes the signal, has `undo` leave things as they were, and then lets the
/// signal end the process as it would have without this. One that was ignored before stays ignored.
/// To be made before other threads are, so that none of them takes the signals.
class StopSignals {
 public:
  /// `undo` is called with the signal, on the thread, and with the lock held: nothing that is done
  /// under lock() goes on then. It must not throw.
  explicit StopSignals(std::function<void(int signal)> undo);
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  /// Keeps the signals waiting until it is released.
  std::unique_lock<std::mutex> lock() { return std::unique_lock<std::mutex>(mutex_); }

  /// To be called under lock(): there is nothing to undo any more. Signals are dropped from here
  /// on.
  void disarm() { isArmed_ = false; }

 private:
  void wait();

  std::function<void(int)> undo_;
  std::mutex mutex_;
  bool isArmed_ = true;
  bool isDone_ = false;
  sigset_t signals_{};  // that are waited for
  sigset_t before_{};   // the mask as it was
  std::thread thread_;
};

#endif
