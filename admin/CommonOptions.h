// Options that most verbs share.
#ifndef ADMIN_COMMONOPTIONS_H
#define ADMIN_COMMONOPTIONS_H

#include <CLI/CLI.hpp>
#include <string>

/// -f and -I, as varnel has them.
struct CommonOptions {
  std::string configFile;  ///< default as varnel's
  std::string instance;    ///< whose schema normalises DNs; empty: none

  /// Adds the options to a verb; this has to outlive the reading of the command line.
  void addTo(CLI::App& verb);

  /// Loads the schema of the instance, where there is one. An instance that is unknown or invalid
  /// ends the process with status 1, its messages printed.
  void loadSchema() const;
};

/// Adds --json to a verb.
void addJson(CLI::App& verb, bool& json);

#endif
