/* Directory client library: distinguished names (RFC 4514), the DN hash by which entries are spread
 * over servers, LDAP URLs (RFC 4516). For C and C++. Every function may be called from any thread.
 *
 * Nothing is printed but what write_ldap_debug() asks for. Where memory runs out, errno is ENOMEM
 * and the result is the one that each function names; no exception reaches the caller. Schemas are
 * loaded by the functions of ldcf_api_schema.h; those here whose names end in _by_schema, and
 * dn_normalize_esc(), go by the one loaded last, and while there is none do as their namesakes.
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
 * NULL included; the caller releases it with free_ldap_escDN(). NULL where memory ran out. */
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

/** Which of the `count` texts at `baseDns` is the innermost base DN at or above the name `dn`, in
 * any spelling of both: its index from 0, the lowest one where a base DN stands there twice; -1 for
 * none; -2 where memory ran out. What is no DN, the empty DN and NULL are neither at nor below any
 * base DN, and a text of `baseDns` that is one of these is above no name. A base DN in normal form
 * costs one pass over it; `dn` is read once. */
int get_base_dn_index(const char* dn, const char* const* baseDns, int count);
int get_base_dn_index_by_schema(const char* dn, const char* const* baseDns, int count);

/** 1 where the two texts are spellings of one DN, as to find out whether a name is that of the base
 * entry; else 0, also where one of them is no DN, the empty DN or NULL, or memory ran out. */
int is_same_dn(const char* dn, const char* other);
int is_same_dn_by_schema(const char* dn, const char* other);

/** The server that holds the entry `dn` below `baseDn`: 1 to `serverCount`, or 0 where
 * `serverCount` is below 1 or memory ran out. Any spelling of the two names gives the same number.
 * All entries below one child of the base DN have the same server. A DN that is not below `baseDn`
 * still gets a number, by the whole of it. Needs no heap for a DN of ordinary length in normal
 * form. The function never changes: data lies where it said. */
int get_hash_value_from_dn(const char* dn, const char* baseDn, int serverCount);

/** The same for data that was split by a schema: of the normal forms that dn_normalize_esc() makes
 * of the names. */
int get_hash_value_from_dn_by_schema(const char* dn, const char* baseDn, int serverCount);

/** Nonzero for an LDAP URL (RFC 4516): scheme ldap, ldaps or ldapi, host, port, DN, attributes,
 * scope, filter and extensions, everything behind "://" optional. NULL is none. The text is not
 * changed. */
int ldap_is_ldap_url(char* url);

#ifdef __cplusplus
}
#endif

#endif
