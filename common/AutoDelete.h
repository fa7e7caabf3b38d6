// An owning holder of a heap array.
#ifndef COMMON_AUTODELETE_H
#define COMMON_AUTODELETE_H

#include <pthread.h>

#include "common/AutoLock.h"

/// Owns an array from new[]; it goes with delete[] when another is assigned and when the holder
/// goes. Every access to the pointer is under the holder's own mutex; what it points at is not.
template <typename T>
class AutoDelete {
 public:
  explicit AutoDelete(T* array = nullptr) : array_(array) {}
  ~AutoDelete() {
    delete[] array_;
    pthread_mutex_destroy(&mutex_);
  }
  AutoDelete(const AutoDelete&) = delete;
  AutoDelete& operator=(const AutoDelete&) = delete;

  /// Takes ownership of `array`. Assigning the array that is held already changes nothing.
  AutoDelete& operator=(T* array) {
    const AutoLock lock(mutex_);
    if (array != array_) {
      delete[] array_;
      array_ = array;
    }
    return *this;
  }

  /// The array, still owned here: valid until the next assignment.
  T* get() const {
    const AutoLock lock(mutex_);
    return array_;
  }

 private:
  mutable pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
  T* array_;
};

#endif
