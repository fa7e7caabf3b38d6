// Brings a schema file into memory.
#ifndef PLATFORM_SCHEMA_READSCHEMAFILE_H
#define PLATFORM_SCHEMA_READSCHEMAFILE_H

#include <string>

namespace schema {

/// Reads the whole of a regular file into `text`, any bytes. Returns an empty text, or why it
/// cannot be read; `text` is of no use then.
std::string readSchemaFile(const std::string& file, std::string& text);

}  // namespace schema

#endif
