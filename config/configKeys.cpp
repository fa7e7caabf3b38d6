#include "config/configKeys.h"

const std::string actionKey = "actiontype";
const std::string fileKey = "file";
const std::string logFileKey = "logfile";
const std::string logFileDefault = "varnel.log";
const std::string inputFileKey = "inputfile";
const std::string outputFileKey = "defaultoutputfile";
const std::string splitKey = "splitby";
const std::string baseDirKey = "basedirectory";
const std::string fileDirKey = "filedirectory";
const std::string baseDNKey = "basedn";
const std::string parentURLKey = "parenturl";
const std::string URLKey = "url";
const std::string rdnFilterKey = "rdnfilter";
const std::string numServersKey = "numservers";
const std::string rdnHashKey = "rdnhash";
const std::string parentFileDefault = "parent.ldif";
const std::string parentURLDefault = "ldap://parent:389";
const std::string subtreeDNKey = "subtreedn";
const std::string dnKey = "dn";
