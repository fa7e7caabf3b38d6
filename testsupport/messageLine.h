// What a message looks like on its stream.
#ifndef TESTSUPPORT_MESSAGELINE_H
#define TESTSUPPORT_MESSAGELINE_H

#include <string>
#include <vector>

/// The line that the catalog makes of a message of set 32.
std::string messageLine(int number, const std::vector<std::string>& arguments);

#endif
