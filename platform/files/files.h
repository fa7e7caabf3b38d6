// What the tool asks of the file system. The functions return nonzero, or a pointer, for yes. For a
// null pointer as their argument the answer is no.
#ifndef PLATFORM_FILES_FILES_H
#define PLATFORM_FILES_FILES_H

/// Whether something of that name exists (a file, a directory, a device, a FIFO). A symbolic link
/// counts as what it points to. The file is not opened.
int doesFileExist(const char* path);

/// Creates the file, or empties the one there is. The answer is no if it cannot be opened for
/// writing.
int clearFile(const char* path);

/// Whether `path` is an existing directory, or a symbolic link to one.
int isDirectory(const char* path);

/// The working directory, NUL-terminated; the caller releases it with free(). A null pointer where
/// it cannot be told, for example after it was removed.
char* getCurrentWorkingDirectory();

#endif
