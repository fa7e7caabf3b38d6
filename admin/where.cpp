#include "admin/verbs.h"

void addWhere(CLI::App& program, Task& task) {
  program.add_subcommand("where", "where")->callback([&task] {
    task = [] { return ExitStatus::misuse; };
  });
}
