// A text for eyes. C++14 can read this header.
#ifndef PLATFORM_TEXT_ONONELINE_H
#define PLATFORM_TEXT_ONONELINE_H

#include <string>

namespace text {

/// The text with its control bytes escaped, NUL among them, as appendOnOneLine() does.
std::string onOneLine(const std::string& shown);

}  // namespace text

#endif
