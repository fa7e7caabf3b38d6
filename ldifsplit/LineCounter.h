#ifndef LDIFSPLIT_LINECOUNTER_H
#define LDIFSPLIT_LINECOUNTER_H

#include <climits>

namespace ldifsplit {

/// Numbers the lines of a file. It stays at the largest int rather than overflow.
class LineCounter {
 public:
  explicit LineCounter(int number = 0) : number_(number) {}

  /// Goes on by so many lines.
  void next(int lines = 1) { number_ = number_ < INT_MAX - lines ? number_ + lines : INT_MAX; }

  int number() const { return number_; }

 private:
  int number_;
};

}  // namespace ldifsplit

#endif
