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

ExitStatus fold(const std::string& file) {
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

}  // namespace

void addFold(CLI::App& program, Task& task) {
  const auto file = std::make_shared<std::string>();
  CLI::App* const verb = program.add_subcommand("fold", "LDIF with lines of at most 76 bytes");
  verb->add_option("FILE", *file, "LDIF, compressed or not; without it, standard input")
      ->option_text(" ");
  verb->footer(
      "Prints the LDIF with each line of more than 76 bytes folded, never inside a UTF-8\n"
      "character, and all else byte for byte. So what \"ldapsearch -o ldif-wrap=no\" wrote\n"
      "can be split. The line end of a fold is that of the line before it.");
  verb->callback([file, &task] { task = [file] { return fold(*file); }; });
}
