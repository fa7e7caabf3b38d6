#ifndef DRIVER_TERMINALWIDTH_H
#define DRIVER_TERMINALWIDTH_H

#include <cstddef>
#include <cstdio>

/// How many columns a line on the terminal may have: all but the last one, in which some terminals
/// begin a new line. Of 80 columns where the stream is no terminal, or one that does not know its
/// width.
std::size_t terminalWidth(std::FILE* stream);

/// Whether somebody can see what is written to the stream.
bool isTerminal(std::FILE* stream);

#endif
