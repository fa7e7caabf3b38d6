#ifndef ACTORS_ISFILEREADWRITABLE_H
#define ACTORS_ISFILEREADWRITABLE_H

/// Whether the owner may read and write the file, by its permission bits alone; false for a null
/// pointer and for what is not there or cannot be reached. No step of the tool asks yet.
bool isFileReadWritable(const char* path);

#endif
