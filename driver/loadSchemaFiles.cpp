#include "driver/loadSchemaFiles.h"

void loadSchemaFiles(const std::string& /*instanceName*/) {}
