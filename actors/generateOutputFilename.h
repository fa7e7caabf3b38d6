// Output file names by default, and a test for files. Names come from the configuration so far.
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

/// Whether the owner may read and write the file, by its permission bits alone; false for a null
/// pointer and for what is not there or cannot be reached.
bool isFileReadWritable(const char* path);

#endif
