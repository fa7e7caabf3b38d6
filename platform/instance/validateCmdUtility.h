// Checks the server instance that a command-line utility is asked to work for.
#ifndef PLATFORM_INSTANCE_VALIDATECMDUTILITY_H
#define PLATFORM_INSTANCE_VALIDATECMDUTILITY_H

/// Checks the instance `*instanceName`, a malloc'ed text: its name, its directory, its
/// configuration file with every line in it, and that each schema file can be read. Every fault is
/// printed as a message of set 33 that names the instance and the file, line and key at fault.
///
/// Returns 0 for an instance that can be used, nonzero otherwise. If the instance has a directory,
/// `*configFile` is in both cases set to the path of its configuration file, a malloc'ed text that
/// the caller frees; else to a null pointer. What `*configFile` held before is not freed.
/// `*instanceName` stays as it is.
///
/// The four numbers say what a utility needs of the instance. Only one need is known, to read the
/// configuration (1, 0, 0, 0), so they make no difference.
int validateCmdUtility(char** instanceName, char** configFile, int readConfiguration, int, int,
                       int);

#endif
