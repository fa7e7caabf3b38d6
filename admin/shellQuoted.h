// Words for a shell.
#ifndef ADMIN_SHELLQUOTED_H
#define ADMIN_SHELLQUOTED_H

#include <string>

/// The text as one word of a command line for a POSIX shell, on one line whatever its bytes: as it
/// stands where nothing in it means anything, else in quotation marks, with control bytes as
/// $'\ooo'.
std::string shellQuoted(const std::string& text);

#endif
