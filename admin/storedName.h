// Where an output file is found after a split.
#ifndef ADMIN_STOREDNAME_H
#define ADMIN_STOREDNAME_H

#include <string>

/// The name itself where there is such a file, else the first of those that there are: the name
/// with .gz, .bz2, .xz or .zst behind it. Empty where there is none. Throws SystemError where the
/// system does not tell.
std::string storedName(const std::string& name);

#endif
