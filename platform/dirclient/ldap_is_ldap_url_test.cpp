#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "platform/dirclient/dirclient.h"

namespace {

bool isUrl(std::string text) {
  const std::string before = text;
  const bool answer = ldap_is_ldap_url(text.data()) != 0;
  EXPECT_EQ(text, before);
  return answer;
}

const std::vector<const char*> urls = {
    "ldap://",
    "ldap://server1",
    "ldap://server1:389",
    "LDAP://server1",
    "ldaps://server1:636",
    "lDaPi://%2Fvar%2Frun%2Fldapi",
    "ldapi:///",
    "ldap://server1/",
    "ldap://10.0.0.1:1",
    "ldap://server1:65535",
    "ldap://[2001:db8::1]:389",
    "ldap://[::1]",
    "ldap://[1:2:3:4:5:6:7:8]/",
    "ldap://[::ffff:10.0.0.1]",
    "ldap://[::ffff:192.168.100.255]",
    "ldap://[::]",
    // Seven groups: the two colons stand for one.
    "ldap://[::2:3:4:5:6:7:8]",
    "ldap://[1:2:3::5:6:7:8]",
    "ldap://[1:2:3:4:5:6:7::]",
    "ldap://[1::3:4:5:6:10.0.0.1]",
    "ldap:///o=University%20of%20Michigan,c=US",
    "ldap://ldap1.example.net/o=University%20of%20Michigan,c=US?postalAddress",
    "ldap://ldap1.example.net:6666/o=University%20of%20Michigan,c=US??sub?(cn=Babs%20Jensen)",
    "LDAP://ldap1.example.com/c=GB?objectClass?ONE",
    "ldap://ldap2.example.com/o=Question%3f,c=US?mail",
    "ldap://ldap3.example.com/o=Babsco,c=US??\?(four-octet=%5c00%5c00%5c00%5c04)",
    "ldap://ldap.example.com/o=An%20Example%5C2C%20Inc.,c=US",
    "ldap://host/o%3Dx%2cc%3d",  // o=x,c=
    "ldap:///??sub??e-bindname=cn=Manager%2cdc=example%2cdc=com",
    "ldap:///??sub?\?!e-bindname=cn=Manager%2cdc=example%2cdc=com",
    "ldap://host/?cn,sn;lang-de,*?base",
    "ldap://host/????x-a,!x-b=1",
};

TEST(LdapUrl, Accepted) {
  for (const char* url : urls) {
    EXPECT_TRUE(isUrl(url)) << url;
  }
}

TEST(LdapUrl, Refused) {
  for (const char* url :
       {"", "server1", "http://server1", "ldap:server1", "ldap:/server1", "ldapx://server1",
        "xldap://server1", "//server1", " ldap://server1", "ldap://server1 ", "ldap://ser ver1",
        "ldap://server1\n", "ldap://server1:0", "ldap://server1:65536", "ldap://server1:",
        "ldap://server1:389x", "ldap://server1:-1", "ldap://server1:99999999999999999999",
        "ldap://a:1:2", "ldap://user@host", "ldap://[::1", "ldap://[]", "ldap://[1:2:3]",
        "ldap://[1:2:3:4:5:6:7:8:9]", "ldap://[1::2::3]", "ldap://[12345::]",
        // Eight groups: the two colons would stand for none.
        "ldap://[::1:2:3:4:5:6:7:8]", "ldap://[1:2:3:4::5:6:7:8]", "ldap://[1:2:3:4:5:6:7:8::]",
        "ldap://[1:2::3:4:5:6:10.0.0.1]", "ldap://[::1]x", "ldap://[::256.0.0.1]",
        "ldap://[::10.0.0.0001]", "ldap://ho%2", "ldap://ho%zz", "ldap://host?cn",
        "ldap://host/no-dn", "ldap://host/o=x%", "ldap://host/o=x%2C", "ldap://host/o=x%1g",
        "ldap://host/o=<x>", "ldap://host/o=m\xc3\xbcller", "ldap://host/o=x??subtree",
        "ldap://host/o=x?cn,,sn", "ldap://host/o=x?,", "ldap://host/???cn=a", "ldap://host/???\?!",
        "ldap://host/???\?=a", "ldap://host/????a,", "ldap://host/????a?b", "ldap://host/\x01",
        "ldap://host/o=\"x\""}) {
    EXPECT_FALSE(isUrl(url)) << url;
  }
}

TEST(LdapUrl, NullIsNone) {
  EXPECT_EQ(ldap_is_ldap_url(nullptr), 0);
}

TEST(LdapUrl, EveryPrefixAndEveryByteIsAnswered) {
  for (const char* url : urls) {
    const std::string text = url;
    for (std::size_t at = 0; at <= text.size(); ++at) {
      isUrl(text.substr(0, at));
      for (int byte = 1; at < text.size() && byte < 256; ++byte) {
        std::string changed = text;
        changed[at] = static_cast<char>(byte);
        const bool control = byte < 0x21 || byte == 0x7F;
        EXPECT_FALSE(control && isUrl(changed)) << ::testing::PrintToString(changed);
      }
    }
  }
}

}  // namespace
