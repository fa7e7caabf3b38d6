// A schema for a test.
#ifndef TESTSUPPORT_LOADEDSCHEMA_H
#define TESTSUPPORT_LOADEDSCHEMA_H

#include <string>

/// Puts the schema of a .schema file's text in use, for the rest of the process.
void loadSchema(const std::string& definitions);

#endif
