#include "admin/verifyNames.h"
ExitStatus verifyNames(const ConfigurationReading&, const VerifyOptions&) { return ExitStatus::misuse; }
