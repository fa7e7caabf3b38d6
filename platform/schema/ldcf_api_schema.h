/* Loads schema files: init, any number of parse, complete. One thread at a time. Other threads may
 * use the schema in use meanwhile. For C and C++. Where memory runs out, that is a problem like
 * others, reported and counted; no exception reaches the caller. */
#ifndef PLATFORM_SCHEMA_LDCF_API_SCHEMA_H
#define PLATFORM_SCHEMA_LDCF_API_SCHEMA_H

#ifdef __cplusplus
extern "C" {
#endif

/** Hands each problem that the functions below find to `report`, with `context` as given here: as
 * one line of text without its end, such as "VNL033020W: Schema file x cannot be read: ...". The
 * text lives for the call. NULL, as at the start, tells nobody: the numbers returned are all then.
 */
void ldcf_api_schema_report_to(void (*report)(const char* line, void* context), void* context);

/** Starts a new, empty schema. The one in use stays in use until ldcf_api_schema_complete().
 *  Returns 0. */
int ldcf_api_schema_init(void);

/** Reads one schema file into the schema begun: an LDIF subschema file (attributeTypes:), a
 *  configuration file in LDIF (olcAttributeTypes:), or a .schema file (attributetype ( ... )); the
 *  content tells which. Each definition that cannot be read is reported with file, line and reason,
 *  and left out. Returns the number of problems reported, 0 for none. */
int ldcf_api_schema_parse(const char* file);

/** Resolves the chains of supertypes and puts the schema in use. A missing supertype or a cycle is
 *  reported, and the attribute types concerned count as unknown. Returns the number of problems
 *  reported, 0 for none. */
int ldcf_api_schema_complete(void);

#ifdef __cplusplus
}
#endif

#endif
