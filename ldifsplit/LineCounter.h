#ifndef LDIFSPLIT_LINECOUNTER_H
#define LDIFSPLIT_LINECOUNTER_H

#include <climits>

namespace ldifsplit {

/// Numbers the lines of a file. It stays at the largest int rather than overflow.
class LineCounter {
 public:
  explicit LineCounter(int number = 0) : number_(number) {}

  void next() {
    if (number_ < INT_MAX) {
      ++number_;
    }
  }

  int number() const { return number_; }

 private:
  int number_;
};

}  // namespace ldifsplit

#endif
