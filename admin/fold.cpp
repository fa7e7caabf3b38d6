#include "admin/verbs.h"

void addFold(CLI::App& program, Task& task) {
  program.add_subcommand("fold", "fold")->callback([&task] {
    task = [] { return ExitStatus::misuse; };
  });
}
