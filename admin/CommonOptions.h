// Options that most verbs share.
#ifndef ADMIN_COMMONOPTIONS_H
#define ADMIN_COMMONOPTIONS_H

#include <string>

#include "driver/commandLineOptions.h"

/// -f and -I, as varnel has them.
struct CommonOptions {
  std::string configFile = configFileOfNoOption;
  std::string instance;  ///< whose schema normalises DNs; empty: none

  /// Loads the schema of the instance, where there is one. An instance that is unknown or invalid
  /// ends the process with status 1, its messages printed.
  void loadSchema() const;
};

#endif
