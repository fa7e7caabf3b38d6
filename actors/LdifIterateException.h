#ifndef ACTORS_LDIFITERATEEXCEPTION_H
#define ACTORS_LDIFITERATEEXCEPTION_H

#include "common/InputFileException.h"

/// The input pass of an actor failed.
class LdifIterateException : public InputFileException {
 public:
  using InputFileException::InputFileException;
};

#endif
