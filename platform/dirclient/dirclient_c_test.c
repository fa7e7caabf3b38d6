/* The C interface, used from C. Ends with status 1 at the first answer that is wrong. */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "platform/dirclient/dirclient.h"

static void expect(int holds, const char* what) {
  if (!holds) {
    fprintf(stderr, "not so: %s\n", what);
    exit(1);
  }
}

static void parsesADn(void) {
  ldap_escDN* dn = dn_normalize_light_esc("uid = jo + cn=Jo, o=x");
  expect(dn != NULL, "a record is returned");
  expect(dn->rdnCount == 2, "two RDNs");
  expect(strcmp(dn->normalizedText, "CN=JO+UID=JO,O=X") == 0, "the normal form");
  expect(strcmp(dn->firstRDN->firstValue->type, "UID") == 0, "the first type, as written");
  expect(strcmp(dn->firstRDN->firstValue->next->value, "JO") == 0, "the second value");
  expect(dn->firstRDN->firstValue->next->next == NULL, "two assertions");
  expect(strcmp(dn->firstRDN->next->firstValue->type, "O") == 0, "the second RDN");
  expect(dn->firstRDN->next->next == NULL, "the end of the DN");
  free_ldap_escDN(&dn);
  expect(dn == NULL, "the pointer is reset");
}

static void returnsARecordForEveryInput(void) {
  ldap_escDN* dn = dn_normalize_esc(NULL);
  expect(dn != NULL && dn->rdnCount == 0 && dn->firstRDN == NULL, "NULL has no RDNs");
  expect(dn->normalizedText[0] == '\0', "NULL has an empty normal form");
  free_ldap_escDN(&dn);
  free_ldap_escDN(NULL);
}

static void answersTheRest(void) {
  char url[] = "ldap://server1:389";
  expect(ldap_is_ldap_url(url) != 0, "an LDAP URL");
  expect(get_hash_value_from_dn("cn=a,o=x", "o=x", 1) == 1, "one server holds all");
  write_ldap_debug(2);
  expect(read_ldap_debug() == 2, "the debug level");
}

int main(void) {
  parsesADn();
  returnsARecordForEveryInput();
  answersTheRest();
  return 0;
}
