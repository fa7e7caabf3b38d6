// varnelctl: looks at a split before, during and after it.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <new>

#include "admin/commandLine.h"
#include "admin/endUnexpectedly.h"
#include "admin/exitStatus.h"
#include "driver/prepareProcess.h"
#include "platform/text/onOneLine.h"

namespace {

ExitStatus run(int argc, char** argv) {
  CLI::App program("Looks at a split by varnel before, during and after it.", "varnelctl");
  program.set_version_flag("--version", "varnelctl " VARNEL_VERSION);
  Task task;
  addVerbs(program, task);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& end) {
    // Help and the version end here too.
    return program.exit(end) == 0 ? ExitStatus::good : ExitStatus::misuse;
  }
  return task();
}

}  // namespace

int main(int argc, char** argv) {
  prepareProcess();
  std::set_terminate([] { endUnexpectedly(""); });
  ExitStatus status = ExitStatus::systemFailed;
  try {
    status = run(argc, argv);
  } catch (const std::bad_alloc&) {
    std::fputs("varnelctl: out of memory\n", stderr);
  } catch (const std::exception& failure) {
    // It may have names of files in it, as they stand in the configuration.
    std::fprintf(stderr, "varnelctl: %s\n", text::onOneLine(failure.what()).c_str());
  }
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    std::fputs("varnelctl: standard output cannot be written\n", stderr);
    status = ExitStatus::systemFailed;
  }
  return static_cast<int>(status);
}
