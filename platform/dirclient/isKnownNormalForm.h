// Whether a DN needs normalising at all.
#ifndef PLATFORM_DIRCLIENT_ISKNOWNNORMALFORM_H
#define PLATFORM_DIRCLIENT_ISKNOWNNORMALFORM_H

#include <string>

namespace dirclient {

/// Whether `dn` is recognised, in one scan and without memory, as its own normal form: by the
/// loaded schema where `withSchema` is set (as dn_normalize_esc() has it), else without one (as
/// dn_normalize_light_esc()). "No" says nothing: some normal forms take the parser to tell. A text
/// with a NUL inside is never recognised.
bool isKnownNormalForm(const std::string& dn, bool withSchema);

}  // namespace dirclient

#endif
