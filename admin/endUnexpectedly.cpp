#include "admin/endUnexpectedly.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

#include "admin/exitStatus.h"

namespace {

bool isOutOfMemory(const std::exception_ptr& failure) {
  if (failure == nullptr) {
    return false;
  }
  try {
    std::rethrow_exception(failure);
  } catch (const std::bad_alloc&) {
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace

void endUnexpectedly(const char* addition) {
  const bool noMemory = isOutOfMemory(std::current_exception());
  std::fprintf(stderr, "varnelctl: %s%s\n", noMemory ? "out of memory" : "unexpected failure",
               addition);
  std::_Exit(static_cast<int>(ExitStatus::systemFailed));
}
