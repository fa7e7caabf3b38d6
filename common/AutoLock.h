// A scoped mutex lock.
#ifndef COMMON_AUTOLOCK_H
#define COMMON_AUTOLOCK_H

#include <pthread.h>

/// Holds a mutex as long as it lives. The mutex has to outlive it.
class AutoLock {
 public:
  explicit AutoLock(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  ~AutoLock() { pthread_mutex_unlock(&mutex_); }
  AutoLock(const AutoLock&) = delete;
  AutoLock& operator=(const AutoLock&) = delete;

 private:
  pthread_mutex_t& mutex_;
};

#endif
