// Preparation of attribute values for comparison, RFC 4518.
#ifndef PLATFORM_DIRCLIENT_STRING_PREP_H
#define PLATFORM_DIRCLIENT_STRING_PREP_H

#include <memory_resource>
#include <string>
#include <string_view>

namespace dirclient {

/// What happens to letter case (RFC 4518, section 2.2).
enum class LetterCase {
  keep,   ///< no folding: caseExactMatch and its kin
  upper,  ///< folded by RFC 3454 table B.2, at the end written in simple upper case
};

/// The insignificant character handling that follows (RFC 4518, section 2.6).
enum class Insignificant {
  spaces,           ///< section 2.6.1, but no blank at either end and one blank inside
  numericString,    ///< section 2.6.2: no blank anywhere
  telephoneNumber,  ///< section 2.6.3: no blank and no hyphen anywhere
};

/// Prepares `utf8` and appends the result, in UTF-8, to `prepared`. Returns false, with `prepared`
/// unchanged, where `utf8` is not well-formed UTF-8 (RFC 3629). All working memory comes from the
/// memory resource of `prepared`.
///
/// The steps: map (section 2.2), fold case, NFKC of Unicode 3.2 (section 2.3), insignificant
/// characters, upper case. Prohibited code points and those that Unicode 3.2 does not know are kept
/// as they are. A SPACE that a combining mark follows is no blank. A code point is written as its
/// simple upper case only where that folds back to it. Preparing a prepared text returns it
/// unchanged.
bool prepareString(std::string_view utf8, LetterCase letterCase, Insignificant insignificant,
                   std::pmr::string& prepared);

}  // namespace dirclient

#endif
