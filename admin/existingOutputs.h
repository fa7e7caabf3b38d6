// The output files that stand in the way of a split.
#ifndef ADMIN_EXISTINGOUTPUTS_H
#define ADMIN_EXISTINGOUTPUTS_H

#include <string>
#include <vector>

#include "admin/LookedAtFiles.h"

/// The output files that exist, be they empty, each name once, in the order of the configuration.
/// Devices and pipes are none: nothing of them is lost.
std::vector<LookedAtFiles::Use> existingOutputs(const LookedAtFiles& files);

/// The command line for a shell that removes them all; empty where there are none.
std::string removalOf(const std::vector<LookedAtFiles::Use>& outputs);

#endif
