// An owning holder of a heap array.
#ifndef COMMON_AUTODELETE_H
#define COMMON_AUTODELETE_H

#include <pthread.h>

#include "common/AutoLock.h"

/// Owns an array that was made with new[]. It deletes the array when another one is assigned and
/// when the holder itself is destroyed. The holder's own mutex guards the pointer, but not the
/// elements of the array.
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
