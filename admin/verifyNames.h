// verify --names: exports of the running servers against the input.
#ifndef ADMIN_VERIFYNAMES_H
#define ADMIN_VERIFYNAMES_H

#include "admin/ConfigurationReading.h"
#include "admin/exitStatus.h"
#include "admin/verbs.h"

/// Compares the names of the entries in each output file, which may have been exported anew, with
/// those that the input gives to it, and prints the result.
ExitStatus verifyNames(const ConfigurationReading& reading, const VerifyOptions& options);

#endif
