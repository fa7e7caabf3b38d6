// Sizes for people.
#ifndef DRIVER_SIZETEXT_H
#define DRIVER_SIZETEXT_H

#include <cstdint>
#include <string>

/// A number of bytes with its decimal unit, such as "17 B" or "1.2 GB"; three or four characters
/// before the blank at most.
std::string sizeText(std::uint64_t bytes);

#endif
