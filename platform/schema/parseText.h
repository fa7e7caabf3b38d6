// Reads the text of one schema file.
#ifndef PLATFORM_SCHEMA_PARSETEXT_H
#define PLATFORM_SCHEMA_PARSETEXT_H

#include <string>
#include <string_view>

#include "platform/schema/Builder.h"

namespace schema {

/// Reads a subschema file in LDIF (`attributeTypes: ( ... )`), a configuration file in LDIF
/// (`olcAttributeTypes: {0}( ... )`) or a slapd schema file (`attributetype ( ... )`) into
/// `builder`; the content tells which. LDIF lines of other types are skipped. Each definition that
/// cannot be read is reported under `fileName` and left out, and so are lines that are neither LDIF
/// nor a directive: the first of them by its line, the others by their number. Any bytes may come;
/// time and memory are in proportion to the text.
void parseText(std::string_view text, const std::string& fileName, Builder& builder);

}  // namespace schema

#endif
