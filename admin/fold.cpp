#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "admin/InputOpener.h"
#include "admin/LineFolding.h"
#include "admin/StandardOutput.h"
#include "admin/exitStatus.h"
#include "admin/verbs.h"
#include "common/AutoClose.h"

namespace {

constexpr const char* standardInput = "/dev/stdin";

/// Whether some of standard input was read already, so that it must not be opened again from its
/// beginning.
bool isBegun() {
  return ::lseek(STDIN_FILENO, 0, SEEK_CUR) > 0;
}

}  // namespace

ExitStatus fold(const FoldOptions& options) {
  const std::string& file = options.file;
  const bool isStandard = file.empty() || file == "-";
  const std::string name = isStandard ? "standard input" : file;
  InputOpener opener;
  AutoClose input;
  if (!isStandard || !isBegun()) {
    input = opener.open(isStandard ? standardInput : file);
  }
  if (input == nullptr && !isStandard) {
    throw SystemError::of(name);
  }
  StandardOutput output;
  // Standard input that has no name is read as it is; what is compressed is not told then.
  LineFolding(input != nullptr ? ::fileno(input.get()) : STDIN_FILENO, name, output).run();
  output.flush();
  input.reset();
  opener.requireWhole();
  return ExitStatus::good;
}
