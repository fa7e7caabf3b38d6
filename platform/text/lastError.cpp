#include "platform/text/lastError.h"

#include <cerrno>
#include <system_error>

namespace text {

std::string lastError() {
  return std::generic_category().message(errno);
}

}  // namespace text
