// Default names of output files. Nothing asks for them yet: the configuration names every file.
#ifndef ACTORS_GENERATEOUTPUTFILENAME_H
#define ACTORS_GENERATEOUTPUTFILENAME_H

#include <string>

extern const char* const defaultLdifPrefix;
extern const char* const defaultLdifSuffix;

namespace nLdifActor {

/// The default file name for server number `n`: "server", the number in two characters, ".ldif".
/// Longer numbers are cut to their first two characters.
std::string generateOutputFilename(int n);

}  // namespace nLdifActor

#endif
