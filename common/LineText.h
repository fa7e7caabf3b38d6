// Line numbers as text, for the arguments of messages.
#ifndef COMMON_LINETEXT_H
#define COMMON_LINETEXT_H

#include <cstdio>

#include "common/AutoDelete.h"

/// A line number as decimal text.
class LineText {
 public:
  explicit LineText(int line) : text_(new char[capacity]) {
    static_cast<void>(std::snprintf(text_.get(), capacity, "%d", line));
  }

  /// Valid as long as this object.
  const char* c_str() const { return text_.get(); }

 private:
  static constexpr unsigned int capacity = 20;  // any int with its sign

  AutoDelete<char> text_;
};

#endif
