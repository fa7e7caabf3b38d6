#include "admin/verbs.h"

void addVerbs(CLI::App& program, Task& task) {
  program.require_subcommand(1);
  addCheck(program, task);
  addPlan(program, task);
  addSplit(program, task);
  addVerify(program, task);
  addProbe(program, task);
  addWhere(program, task);
  addFold(program, task);
}
