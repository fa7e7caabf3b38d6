/* Directory client library: distinguished names (RFC 4514), the DN hash by which entries are spread
 * over servers, LDAP URLs (RFC 4516). For C and C++. Every function may be called from any thread.
 */
#ifndef PLATFORM_DIRCLIENT_DIRCLIENT_H
#define PLATFORM_DIRCLIENT_DIRCLIENT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** One attribute value assertion of an RDN. `type` is in upper case; `value` is prepared and
 * escaped as in the normal form. */
typedef struct ldap_escAVA {
  char* type;
  char* value;
  struct ldap_escAVA* next;
} ldap_escAVA;

/** One RDN. Its assertions stand in the order in which they were written. */
typedef struct ldap_escRDN {
  ldap_escAVA* firstValue;
  struct ldap_escRDN* next;
} ldap_escRDN;

/** A parsed DN: its RDNs from left to right, their number, and the normal form, the one text that
 * every spelling of the DN maps to. A text that is no DN, the empty DN, and a DN of more than 4096
 * RDNs have an empty normal form, no RDNs and the count 0. */
typedef struct ldap_escDN {
  ldap_escRDN* firstRDN;
  int32_t rdnCount;
  char* normalizedText;
} ldap_escDN;

/** Parses and normalises a NUL-terminated DN without a schema: every value compares without regard
 * to case, as by caseIgnoreMatch (RFC 4517, section 4.2.11). Returns a record for every input,
 * NULL included; the caller releases it with free_ldap_escDN(). */
ldap_escDN* dn_normalize_light_esc(const char* dn);

/** The same by the loaded schema: each attribute by its EQUALITY rule and under its first name. An
 * attribute that the schema does not know, and any attribute while no schema is loaded, is treated
 * as by dn_normalize_light_esc(). */
ldap_escDN* dn_normalize_esc(const char* dn);

/** Releases a record and sets the caller's pointer to it to NULL. NULL, and a pointer to NULL, are
 * allowed. */
void free_ldap_escDN(ldap_escDN** dn);

/** The debug level, a bit mask: 1 the tool's own traces, 2 DNs that could not be parsed, 4 hash
 * decisions, 8 schema. The lines go to standard error. Writing bit 1 sets bit 0x4000000 of the
 * trace mask trcEvents; nothing here clears it. */
int read_ldap_debug(void);
void write_ldap_debug(int level);

/** The server that holds the entry `dn` below `baseDn`: 1 to `serverCount`, or 0 where
 * `serverCount` is below 1. Any spelling of the two names gives the same number. All entries below
 * one child of the base DN have the same server. A DN that is not below `baseDn` still gets a
 * number, by the whole of it. Where the data was split by a schema, pass what dn_normalize_esc()
 * makes of the names: here they are normalised without one. Needs no heap for a DN of ordinary
 * length in normal form. The function never changes: data lies where it said. */
int get_hash_value_from_dn(const char* dn, const char* baseDn, int serverCount);

/** Nonzero for an LDAP URL (RFC 4516): scheme ldap, ldaps or ldapi, host, port, DN, attributes,
 * scope, filter and extensions, everything behind "://" optional. NULL is none. The text is not
 * changed. */
int ldap_is_ldap_url(char* url);

#ifdef __cplusplus
}
#endif

#endif
