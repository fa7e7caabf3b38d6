#ifndef CONFIG_VARNELCONFIGEXCEPTION_H
#define CONFIG_VARNELCONFIGEXCEPTION_H

#include "common/InputFileException.h"

/// The configuration cannot be used. A message that says why has been printed before, save where it
/// is the log file or the default output file that cannot be opened or written.
class VarnelConfigException : public InputFileException {
 public:
  using InputFileException::InputFileException;
};

#endif
