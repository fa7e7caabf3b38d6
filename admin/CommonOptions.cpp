#include "admin/CommonOptions.h"

#include "actors/normalizeDn.h"
#include "driver/commandLineOptions.h"
#include "driver/loadSchemaFiles.h"

void CommonOptions::addTo(CLI::App& verb) {
  configFile = configFileOfNoOption;
  verb.add_option("-f,--config", configFile, "configuration file")
      ->option_text("CONF (" + configFile + ")");
  verb.add_option("-I,--instance", instance,
                  "server instance whose schema says what names are equal")
      ->option_text("INSTANCE");
}

void CommonOptions::loadSchema() const {
  if (!instance.empty()) {
    loadSchemaFiles(instance);
    schemaInitialized = true;
  }
}

void addJson(CLI::App& verb, bool& json) {
  verb.add_flag("--json", json, "print the result as JSON");
}
