// Keys and default values of the configuration file.
#ifndef CONFIG_CONFIGKEYS_H
#define CONFIG_CONFIGKEYS_H

#include <string>

extern const std::string actionKey;
extern const std::string fileKey;
extern const std::string logFileKey;
extern const std::string logFileDefault;
extern const std::string inputFileKey;
extern const std::string outputFileKey;
extern const std::string splitKey;
extern const std::string baseDirKey;
extern const std::string fileDirKey;
extern const std::string baseDNKey;
extern const std::string parentURLKey;  // no operation reads it: "parenturl" is not allowed
extern const std::string URLKey;
extern const std::string rdnFilterKey;  // no operation reads it: "rdnfilter" is not allowed
extern const std::string numServersKey;
extern const std::string rdnHashKey;
extern const std::string parentFileDefault;
extern const std::string parentURLDefault;  // no operation reads it
extern const std::string subtreeDNKey;
extern const std::string dnKey;

#endif
