#ifndef CONFIG_VARNELCONFIGEXCEPTION_H
#define CONFIG_VARNELCONFIGEXCEPTION_H

#include "common/InputFileException.h"

/// The configuration cannot be used. The catalog message that says so has been printed.
class VarnelConfigException : public InputFileException {
 public:
  using InputFileException::InputFileException;
};

#endif
