#include "admin/existingOutputs.h"

#include <set>

#include "admin/shellQuoted.h"

std::vector<LookedAtFiles::Use> existingOutputs(const LookedAtFiles& files) {
  std::vector<LookedAtFiles::Use> found;
  std::set<std::string> names;
  for (const LookedAtFiles::Use& use : files.uses()) {
    if (use.role == FileRole::output && use.kind == FileKind::regular &&
        names.insert(use.name).second) {
      found.push_back(use);
    }
  }
  return found;
}

std::string removalOf(const std::vector<LookedAtFiles::Use>& outputs) {
  std::string command;
  for (const LookedAtFiles::Use& output : outputs) {
    command += (command.empty() ? "rm -- " : " ") + shellQuoted(output.name);
  }
  return command;
}
