#ifndef LDIFSPLIT_FINDNEARESTANCESTOR_H
#define LDIFSPLIT_FINDNEARESTANCESTOR_H

#include <cstddef>
#include <string>
#include <vector>

#include "ldifsplit/BaseDnIndex.h"
#include "platform/dirclient/NormalDn.h"

namespace ldifsplit {

/// The base DN of the list that is nearest to `dn`: the DN itself, or the first met on the way up.
/// An empty text where there is none. The base DNs have to be in normal form; they are compared
/// byte for byte.
std::string findNearestAncestor(const std::string& dn, const std::vector<std::string>& baseDNs);

/// The same for the split, which asks for each of millions of entries: neither is the DN read again
/// nor the list searched from end to end. The result is an index in the list, or BaseDnIndex::none.
std::size_t findNearestAncestor(const dirclient::NormalDn& dn, const BaseDnIndex& baseDNs);

}  // namespace ldifsplit

#endif
