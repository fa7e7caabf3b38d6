#ifndef DRIVER_LOADSCHEMAFILES_H
#define DRIVER_LOADSCHEMAFILES_H

#include <string>

/// The configuration file of the instance whose schema was loaded; a null pointer before. It lives
/// to the end of the process.
extern char* g_configFile;

/// Loads the schema files of a server instance, so that DNs can be normalised by them: first those
/// of the system, then the user's. An instance that is unknown or invalid ends the process with
/// status 1, after the instance library has printed what is wrong with it.
void loadSchemaFiles(const std::string& instanceName);

#endif
