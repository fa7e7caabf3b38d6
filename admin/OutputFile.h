// The output files of a configuration.
#ifndef ADMIN_OUTPUTFILE_H
#define ADMIN_OUTPUTFILE_H

#include <string>
#include <vector>

#include "admin/LookedAtFiles.h"

struct OutputFile {
  std::string name;
  bool hasDefaultName;  ///< no line of the configuration names it
};

/// Each once, in the order of the lines that name them.
std::vector<OutputFile> outputFilesOf(const LookedAtFiles& files);

#endif
