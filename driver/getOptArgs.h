// Reads the command line.
#ifndef DRIVER_GETOPTARGS_H
#define DRIVER_GETOPTARGS_H

#include <string>
#include <vector>

/// Parses the options of `optionString`, which is of getopt's form and begins with ":", so that
/// getopt prints nothing. Options may stand among operands, which are ignored, whatever the
/// environment says.
///
/// Returns one text for each option letter, in the order of the letters: empty where the option is
/// absent, "true" for a flag, else its argument; the last of several counts. An argument that is
/// missing at the very end of the command line leaves its option absent.
///
/// Ends the process: with status 0 after message `usageMessage` of `messageSet` on an unknown
/// option; with status 1 after `missingArgumentMessage` where an argument is empty or begins with
/// "-".
std::vector<std::string> getOptArgs(int argc, char** argv, std::string optionString, int messageSet,
                                    int usageMessage, int missingArgumentMessage);

/// Whether the text looks like an option: its first character is "-".
bool IsArgOption(const std::string& text);

/// The part behind the last "/".
std::string getBasename(const std::string& path);

#endif
