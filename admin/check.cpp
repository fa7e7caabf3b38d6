#include "admin/verbs.h"

void addCheck(CLI::App& program, Task& task) {
  program.add_subcommand("check", "check")->callback([&task] {
    task = [] { return ExitStatus::misuse; };
  });
}
