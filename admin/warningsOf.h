// What about a configuration would surprise.
#ifndef ADMIN_WARNINGSOF_H
#define ADMIN_WARNINGSOF_H

#include <vector>

#include "admin/ConfigurationReading.h"
#include "admin/Finding.h"

/// What is allowed and seldom meant, beside what the reading itself found, in no particular order:
/// files that exist, or stand for several servers; base DNs below others; an input that varnel
/// cannot read as it stands; too few descriptors; too little space. Reads the first bytes of the
/// input where it is a regular file, and touches nothing. May raise the soft limit of descriptors,
/// as a split does. A configuration with errors may be looked at too. The messages of the
/// reading have to be kept.
std::vector<Finding> warningsOf(const ConfigurationReading& reading);

#endif
