// The verbs of varnelctl, one source each.
#ifndef ADMIN_VERBS_H
#define ADMIN_VERBS_H

#include <CLI/CLI.hpp>
#include <functional>

#include "admin/exitStatus.h"

/// What the command line asks for. It runs once the whole line is read.
using Task = std::function<ExitStatus()>;

/// Adds all verbs to the program, in the order of their use, and sets `task` to what the command line
/// asks for once it is read.
void addVerbs(CLI::App& program, Task& task);

// Each adds a verb with its options to the program and sets `task` where the verb is given.

void addCheck(CLI::App& program, Task& task);
void addPlan(CLI::App& program, Task& task);
void addSplit(CLI::App& program, Task& task);
void addVerify(CLI::App& program, Task& task);
void addProbe(CLI::App& program, Task& task);
void addWhere(CLI::App& program, Task& task);
void addFold(CLI::App& program, Task& task);

#endif
