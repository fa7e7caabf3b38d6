// Where errno becomes text.
#ifndef PLATFORM_TEXT_LASTERROR_H
#define PLATFORM_TEXT_LASTERROR_H

#include <string>

namespace text {

/// What the system says about the call that just failed: the text of errno. C++14 can read this.
std::string lastError();

}  // namespace text

#endif
