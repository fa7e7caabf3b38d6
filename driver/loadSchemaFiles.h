#ifndef DRIVER_LOADSCHEMAFILES_H
#define DRIVER_LOADSCHEMAFILES_H

#include <string>

/// Loads the schema files of a server instance, so that DNs can be normalised by them. An instance
/// that is unknown or invalid ends the process with status 1, its message printed.
void loadSchemaFiles(const std::string& instanceName);

#endif
