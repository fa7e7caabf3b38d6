#include "admin/verbs.h"

void addSplit(CLI::App& program, Task& task) {
  program.add_subcommand("split", "split")->callback([&task] {
    task = [] { return ExitStatus::misuse; };
  });
}
