#ifndef DRIVER_FOREIGNFORMAT_H
#define DRIVER_FOREIGNFORMAT_H

#include <string>

/// What a file is that cannot be read as it stands, told by its first bytes: text behind a UTF-8
/// byte order mark, or compressed data (gzip, bzip2, xz, zstd). Empty for any other file, and for
/// what is no regular file or cannot be read: opening a pipe could wait for its writer.
std::string foreignFormat(const std::string& fileName);

/// Whether what foreignFormat() says is that the data is compressed.
bool isCompressed(const std::string& format);

#endif
