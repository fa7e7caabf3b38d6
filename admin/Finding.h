// What is said about a configuration.
#ifndef ADMIN_FINDING_H
#define ADMIN_FINDING_H

#include <string>
#include <vector>

#include "platform/messages/MessageReceiver.h"

/// One remark, as "FILE:LINE: what, value, cure".
struct Finding {
  bool isError;       ///< a split would fail; else it would do what is seldom meant
  std::string file;   ///< the configuration file
  int line;           ///< 0: none in particular
  std::string what;   ///< what is wrong
  std::string value;  ///< with which value; may be empty
  std::string cure;   ///< what to do; may be empty
};

/// The remark as one line without a line end; control bytes in it are escaped.
std::string lineOf(const Finding& finding);

/// The remark that says what a message of the configuration's reader says. `line`: where the fault
/// was found, 0 where the message itself has the number or there is none.
Finding findingOf(const Message& message, const std::string& configFile, int line);

#endif
