#ifndef DRIVER_WARNOFMISSINGENTRIES_H
#define DRIVER_WARNOFMISSINGENTRIES_H

#include <map>
#include <string>
#include <vector>

#include "actors/LdifActor.h"

/// Behind a split: message 63 for each base DN at or below which the input had no entry, 64 for
/// each with entries below it that was no entry itself, in the order of the list. `actors` has one
/// for each. An entry below a base DN that stands below another one counts for both.
void warnOfMissingEntries(const std::vector<std::string>& baseDNs,
                          const std::map<std::string, LdifActor*>& actors);

#endif
