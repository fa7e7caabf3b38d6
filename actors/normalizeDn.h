// DNs as the tool compares them: normalised texts, equal byte for byte or not at all.
#ifndef ACTORS_NORMALIZEDN_H
#define ACTORS_NORMALIZEDN_H

#include <string>

/// Whether a server's schema has been loaded, so that DNs are normalised by it. The driver sets it,
/// once.
extern bool schemaInitialized;

/// Between RDNs, and between an attribute type and its value.
extern const char* const rdnSeparator;
extern const char* const rdnAttrSeparator;

namespace nLdifActor {

/// Replaces `dn` by its normal form, which is empty where it is no usable DN, and returns it. The
/// client library's debug level is 0 meanwhile. A DN ends at its first NUL.
std::string& normalizeDn(std::string& dn);

/// The normal form of the parent of `dn`, in a new string that the caller deletes; a null pointer
/// where `dn` has fewer than two RDNs. The assertions of a multi-valued RDN in the parent are
/// joined with nothing between them: the parent of cn=x,ou=a+l=b,o=c is OU=AL=B,O=C, which names no
/// entry that really is above it.
std::string* getParent(const std::string& dn);

}  // namespace nLdifActor

#endif
