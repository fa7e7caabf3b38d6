// Brings a schema file into memory.
#ifndef PLATFORM_SCHEMA_READSCHEMAFILE_H
#define PLATFORM_SCHEMA_READSCHEMAFILE_H

#include <string>

namespace schema {

/// Reads the whole of a regular file, which may hold any bytes, into `text`. Returns an empty text
/// if that went well, or why the file cannot be read; `text` is then undefined.
std::string readSchemaFile(const std::string& file, std::string& text);

}  // namespace schema

#endif
