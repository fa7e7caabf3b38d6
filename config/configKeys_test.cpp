#include "config/configKeys.h"

#include <gtest/gtest.h>

#include "platform/dirclient/dirclient.h"

namespace {

TEST(ConfigKeys, HaveTheirTexts) {
  EXPECT_EQ(actionKey, "actiontype");
  EXPECT_EQ(fileKey, "file");
  EXPECT_EQ(logFileKey, "logfile");
  EXPECT_EQ(inputFileKey, "inputfile");
  EXPECT_EQ(outputFileKey, "defaultoutputfile");
  EXPECT_EQ(splitKey, "splitby");
  EXPECT_EQ(baseDirKey, "basedirectory");
  EXPECT_EQ(fileDirKey, "filedirectory");
  EXPECT_EQ(baseDNKey, "basedn");
  EXPECT_EQ(parentURLKey, "parenturl");
  EXPECT_EQ(URLKey, "url");
  EXPECT_EQ(rdnFilterKey, "rdnfilter");
  EXPECT_EQ(numServersKey, "numservers");
  EXPECT_EQ(rdnHashKey, "rdnhash");
  EXPECT_EQ(subtreeDNKey, "subtreedn");
  EXPECT_EQ(dnKey, "dn");
}

TEST(ConfigKeys, HaveTheirDefaults) {
  EXPECT_EQ(logFileDefault, "varnel.log");
  EXPECT_EQ(parentFileDefault, "parent.ldif");
}

TEST(ConfigKeys, DefaultParentIsAnLdapUrlWithPort389) {
  std::string url = parentURLDefault;
  EXPECT_NE(ldap_is_ldap_url(&url[0]), 0);
  EXPECT_EQ(url.substr(url.rfind(':')), ":389");
}

}  // namespace
