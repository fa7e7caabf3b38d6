#include "admin/verbs.h"

void addProbe(CLI::App& program, Task& task) {
  program.add_subcommand("probe", "probe")->callback([&task] {
    task = [] { return ExitStatus::misuse; };
  });
}
