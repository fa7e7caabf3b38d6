#include "admin/OutputFile.h"

#include <set>

std::vector<OutputFile> outputFilesOf(const LookedAtFiles& files) {
  std::vector<OutputFile> outputs;
  std::set<std::string> names;
  for (const LookedAtFiles::Use& use : files.uses()) {
    if (use.role == FileRole::output && names.insert(use.name).second) {
      outputs.push_back({use.name, use.line == 0});
    }
  }
  return outputs;
}
