#ifndef LDIFSPLIT_LDIFSPLITEXCEPTION_H
#define LDIFSPLIT_LDIFSPLITEXCEPTION_H

#include "common/InputFileException.h"

namespace ldifsplit {

/// The input cannot be read or parsed, or an output file cannot be created or given its header.
class LdifSplitException : public InputFileException {
 public:
  using InputFileException::InputFileException;
};

}  // namespace ldifsplit

#endif
