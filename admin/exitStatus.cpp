#include "admin/exitStatus.h"

#include "platform/text/lastError.h"

SystemError SystemError::of(const std::string& what) {
  return SystemError(what + ": " + text::lastError());
}
