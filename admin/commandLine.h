// The command line of varnelctl.
#ifndef ADMIN_COMMANDLINE_H
#define ADMIN_COMMANDLINE_H

#include <CLI/CLI.hpp>
#include <functional>

#include "admin/exitStatus.h"

/// What a command line asks for.
using Task = std::function<ExitStatus()>;

/// Adds all verbs with their options to the program, in the order of their use. Reading a command
/// line sets `task` to what it asks for.
void addVerbs(CLI::App& program, Task& task);

#endif
