#include "admin/storedName.h"

#include <cerrno>

#include "admin/FilePlace.h"
#include "admin/exitStatus.h"
#include "platform/text/onOneLine.h"

std::string storedName(const std::string& name) {
  for (const char* const ending : {"", ".gz", ".bz2", ".xz", ".zst"}) {
    std::string stored = name + ending;
    if (kindOf(stored) != FileKind::missing) {
      return stored;
    }
    // A name that is too long is that of no file: an ending may make it so.
    if (errno != 0 && errno != ENAMETOOLONG) {
      throw SystemError::of(text::onOneLine(stored));
    }
  }
  return "";
}
