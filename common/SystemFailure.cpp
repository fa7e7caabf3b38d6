#include "common/SystemFailure.h"

#include <cerrno>

#include "platform/text/lastError.h"

namespace {

SystemFailure& note() {
  static SystemFailure failure;
  return failure;
}

}  // namespace

void noteSystemFailure(const std::string& file) {
  const std::string reason = errno != 0 ? text::lastError() : "";
  note() = SystemFailure{file, reason};
}

const SystemFailure& notedSystemFailure() {
  return note();
}
