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
  numericString,    ///< section 2.6.2: no blank, see below
  telephoneNumber,  ///< section 2.6.3: no blank and no hyphen, see below
};

/// Prepares `utf8` and appends the result, in UTF-8, to `prepared`. Returns false, with `prepared`
/// unchanged, where `utf8` is not well-formed UTF-8 (RFC 3629). `utf8` may hold any bytes, NUL
/// included, and must not lie in `prepared`. Memory is taken for the result, and to work in for
/// long runs of combining marks only, all of it from the memory resource of `prepared`. Time is
/// linear but for such runs, n log n.
///
/// The steps: map (section 2.2), fold case, NFKC of Unicode 3.2 (section 2.3), insignificant
/// characters, upper case. Prohibited code points and those that Unicode 3.2 does not know are kept
/// as they are. A SPACE or hyphen that a combining mark follows is no blank and no hyphen. A code
/// point is written as its simple upper case only where that folds back to it. Preparing a prepared
/// text returns it unchanged.
///
/// Two texts have the same result exactly when they are equal by the matching rule. To that end
/// numericString and telephoneNumber, which have no room for Hangul, leave one SPACE where taking
/// blanks or hyphens out would join two Hangul letters to a syllable: the rules tell the letters
/// from the syllable, and preparing again would not.
bool prepareString(std::string_view utf8, LetterCase letterCase, Insignificant insignificant,
                   std::pmr::string& prepared);

}  // namespace dirclient

#endif
