#ifndef LDIFSPLIT_FINDNEARESTANCESTOR_H
#define LDIFSPLIT_FINDNEARESTANCESTOR_H

#include <string>
#include <vector>

#include "actors/LdifEntry.h"

namespace ldifsplit {

/// The base DN of the list that is nearest to `dn`: the DN itself, or the first met on the way up.
/// An empty text where there is none. The base DNs have to be in normal form; they are compared
/// byte for byte.
std::string findNearestAncestor(const std::string& dn, const std::vector<std::string>& baseDNs);

/// The same for the DN of an entry; the result is an element of the list, or a null pointer.
const std::string* findNearestAncestor(const LdifEntry& entry,
                                       const std::vector<std::string>& baseDNs);

}  // namespace ldifsplit

#endif
