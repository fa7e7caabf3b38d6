// The split: one pass over the input, every entry into its output files.
#ifndef LDIFSPLIT_LDIFSPLIT_H
#define LDIFSPLIT_LDIFSPLIT_H

#include <map>
#include <string>

#include "actors/LdifActor.h"
#include "ldifsplit/LdifSplitException.h"
#include "ldifsplit/SplitObserver.h"
#include "ldifsplit/SplitOutputException.h"

namespace ldifsplit {

// C++14 deprecates dynamic exception lists; here they are wanted: any other exception ends the
// program.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated"

/// Splits the LDIF file `inputFile` (RFC 2849), which may be anything that can be read once. The
/// actor of the nearest base DN at or above an entry names its output files; an entry below none
/// goes to `defaultOutputFile`. An output file is created at its first entry. In it each entry is
/// an empty line, "dn: " with the unfolded value, and the entry's other lines byte for byte;
/// comments and empty lines of the input are left out. Entries whose "dn" line is before line
/// `firstLine` are left out too.
///
/// `actors` is keyed by normalised base DN; the actors stay the caller's. The fourth argument is
/// not read.
///
/// Throws LdifSplitException where the input cannot be read or parsed or an output file cannot be
/// created, SplitOutputException where one cannot be written. The line that either names is
///   0 where the input or an output file cannot be opened or given its header,
///   1 where the first read gives nothing, as that of an empty input does,
///   else the last physical line of the logical line at fault; where a later read fails, the number
///     of lines read before, less one if it was to continue a line.
void ldifSplit(const std::string& inputFile, std::map<std::string, LdifActor*> actors,
               const std::string& defaultOutputFile, const std::string& further,
               int firstLine) throw(LdifSplitException, SplitOutputException);

/// The same for those who want more of it than its files.
void ldifSplit(const std::string& inputFile, const std::map<std::string, LdifActor*>& actors,
               const std::string& defaultOutputFile,
               SplitObserver& observer) throw(LdifSplitException, SplitOutputException);

#pragma GCC diagnostic pop

}  // namespace ldifsplit

#endif
