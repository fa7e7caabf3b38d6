#include "admin/verbs.h"

void addPlan(CLI::App& program, Task& task) {
  program.add_subcommand("plan", "plan")->callback([&task] {
    task = [] { return ExitStatus::misuse; };
  });
}
