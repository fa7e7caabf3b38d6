#ifndef LDIFSPLIT_SPLITOUTPUTEXCEPTION_H
#define LDIFSPLIT_SPLITOUTPUTEXCEPTION_H

#include "common/InputFileException.h"

namespace ldifsplit {

/// A line cannot be written to an output file that is open; the message is the file's name.
class SplitOutputException : public InputFileException {
 public:
  using InputFileException::InputFileException;
};

}  // namespace ldifsplit

#endif
