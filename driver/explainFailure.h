// What is known about a failure beside its own message: the line, the system's reason, the kind of
// file. All of it is printed, and changes nothing.
#ifndef DRIVER_EXPLAINFAILURE_H
#define DRIVER_EXPLAINFAILURE_H

#include <string>

#include "config/VarnelConfig.h"
#include "config/VarnelConfigException.h"

/// What noteSystemFailure() noted: message 73. Nothing where there is no reason.
void explainSystemFailure();

/// Message 74 where the file is of a format that is not read.
void explainFormat(const std::string& fileName);

/// Behind the message of a configuration error: the two above, and the line where it was found,
/// message 62. Not where no line was, or the fault was found behind the last one.
void explainConfigFailure(const VarnelConfig& config, const VarnelConfigException& failure);

#endif
