#ifndef CONFIG_VARNELCONFIGEXCEPTION_H
#define CONFIG_VARNELCONFIGEXCEPTION_H

#include "common/InputFileException.h"

/// The configuration cannot be used. A catalog message has said why, but for a log file or a
/// default output file that cannot be opened or written.
class VarnelConfigException : public InputFileException {
 public:
  using InputFileException::InputFileException;
};

#endif
