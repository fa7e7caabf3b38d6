// What is said about a configuration or an input.
#ifndef ADMIN_FINDING_H
#define ADMIN_FINDING_H

#include <string>
#include <vector>

#include "platform/messages/MessageReceiver.h"

/// One remark, as "FILE:LINE: what, value, cure".
struct Finding {
  bool isError;       ///< a split would fail; else it would do what is seldom meant
  std::string file;   ///< the configuration file, or the input
  int line;           ///< 0: none in particular
  std::string what;   ///< what is wrong
  std::string value;  ///< with which value; may be empty
  std::string cure;   ///< what to do; may be empty
};

bool operator==(const Finding& a, const Finding& b);

/// By line, those of no line last; else in the order in which they come.
void sortByLine(std::vector<Finding>& findings);

/// The remark as one line without a line end; control bytes in it are escaped.
std::string lineOf(const Finding& finding);

/// The remark that says what a message of the tool says: a fault or a warning of the configuration,
/// or a warning of a split, which names the line of the input. `line`: where the fault was found, 0
/// where the message itself has the number or there is none.
Finding findingOf(const Message& message, const std::string& configFile, int line);

#endif
