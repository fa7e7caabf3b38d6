#include "admin/CommonOptions.h"

#include "actors/normalizeDn.h"
#include "driver/loadSchemaFiles.h"

void CommonOptions::loadSchema() const {
  if (!instance.empty()) {
    loadSchemaFiles(instance);
    schemaInitialized = true;
  }
}
