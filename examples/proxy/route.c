/* Which servers a proxy asks, for a directory that varnel has spread over several of them.
 *
 *   route [-s SCHEMAFILE]... CONFIGURATION < requests
 *
 * CONFIGURATION is the file that the directory was split by; of it the lines basedn: and url:
 * count. With -s, names compare by the schema of those files, for a directory that was split with
 * -I. A request is a line:
 *
 *   read DN            compare, bind, or a search of the entry alone: any of the servers does it
 *   write DN           add, modify, delete: each of the servers does it
 *   one DN             a search of the entries directly below: each does it, the proxy merges
 *   sub DN             a search of the entry and all below it: the same
 *   rename DN TAB DN   the servers where both names are; none where the entry has to move
 *
 * The answer is a line too: the URLs of the servers, or "parent" for the server that holds what is
 * below no base DN, or "error" and why. */

#define _POSIX_C_SOURCE 200809L

#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <varnel/dirclient.h>
#include <varnel/ldcf_api_schema.h>

enum { maximalBases = 64, maximalServers = 1024 };

/* The base DNs, and the servers of base i: urls[first[i]] up to, but not including,
 * urls[first[i + 1]]. */
static const char* bases[maximalBases];
static int first[maximalBases + 1];
static const char* urls[maximalServers];
static int baseCount = 0;
static int bySchema = 0;

/* The answer: the servers of each base DN that are asked, and whether the parent server is. */
static char asked[maximalServers];
static int parentAsked;

static void fail(const char* what, const char* which) {
  fprintf(stderr, "route: %s: %s\n", what, which);
  exit(1);
}

/* --- Names ----------------------------------------------------------------------------------- */

static int indexOf(const char* dn, const char* const* list, int count) {
  const int index =
      bySchema ? get_base_dn_index_by_schema(dn, list, count) : get_base_dn_index(dn, list, count);
  if (index == -2) {
    fail("no memory for", dn);
  }
  return index;
}

static int isAtOrBelow(const char* dn, const char* ancestor) {
  return *ancestor == '\0' || indexOf(dn, &ancestor, 1) == 0;
}

static int isSame(const char* dn, const char* other) {
  return bySchema ? is_same_dn_by_schema(dn, other) : is_same_dn(dn, other);
}

/* 0 for the empty DN, and for what is no DN. */
static int rdnCountOf(const char* dn) {
  ldap_escDN* record = bySchema ? dn_normalize_esc(dn) : dn_normalize_light_esc(dn);
  int count = 0;
  if (record == NULL) {
    fail("no memory for", dn);
  }
  count = record->rdnCount;
  free_ldap_escDN(&record);
  return count;
}

/* --- Where entries are ----------------------------------------------------------------------- */

static void askAll(int base) {
  memset(asked + first[base], 1, (size_t)(first[base + 1] - first[base]));
}

/* Asks the servers that hold the entry: all of them for a base DN, which every one holds. */
static void askForEntry(const char* dn) {
  const int base = indexOf(dn, bases, baseCount);
  if (base < 0) {
    parentAsked = 1;
  } else if (isSame(dn, bases[base])) {
    askAll(base);
  } else {
    const int count = first[base + 1] - first[base];
    const int server = bySchema ? get_hash_value_from_dn_by_schema(dn, bases[base], count)
                                : get_hash_value_from_dn(dn, bases[base], count);
    if (server == 0) {
      fail("no memory for", dn);
    }
    asked[first[base] + server - 1] = 1;
  }
}

/* What is directly below a name is where the name is; what is below a base DN is on all of its
 * servers; and a base DN may itself be directly below the name. */
static void askForChildren(const char* dn) {
  int i = 0;
  askForEntry(dn);
  for (i = 0; i < baseCount; ++i) {
    if (isAtOrBelow(bases[i], dn) && rdnCountOf(bases[i]) == rdnCountOf(dn) + 1) {
      askAll(i);
    }
  }
}

static void askForSubtree(const char* dn) {
  int i = 0;
  askForEntry(dn);
  for (i = 0; i < baseCount; ++i) {
    if (isAtOrBelow(bases[i], dn)) {
      askAll(i);
    }
  }
}

/* --- Requests -------------------------------------------------------------------------------- */

static void forgetAnswer(void) {
  memset(asked, 0, sizeof asked);
  parentAsked = 0;
}

/* Why no server can be named for the DN, or NULL. The keys below cn=localhost are on each server of
 * a base DN, which uses its own; nobody asks for them through a proxy. */
static const char* faultOf(const char* dn) {
  if (rdnCountOf(dn) == 0) {
    return "not a DN";
  }
  return isAtOrBelow(dn, "cn=localhost") ? "each server has its own cn=localhost" : NULL;
}

/* A name stays where it is if the new one belongs to the same servers. A server cannot rename what
 * another one is to hold: the proxy refuses (result code 71, affectsMultipleDSAs), or copies the
 * entry and all below it, and deletes the old ones. */
static const char* askForRename(char* dn) {
  char* newDn = strchr(dn, '\t');
  char before[sizeof asked];
  int parentBefore = 0;
  int i = 0;
  if (newDn == NULL) {
    return "the new name is missing";
  }
  *newDn++ = '\0';
  if (faultOf(dn) != NULL || faultOf(newDn) != NULL) {
    return faultOf(dn) != NULL ? faultOf(dn) : faultOf(newDn);
  }
  for (i = 0; i < baseCount; ++i) {
    if (isAtOrBelow(bases[i], dn) || isAtOrBelow(bases[i], newDn)) {
      return "a base DN is renamed by a new split alone";
    }
  }
  askForEntry(dn);
  memcpy(before, asked, sizeof asked);
  parentBefore = parentAsked;
  forgetAnswer();
  askForEntry(newDn);
  if (parentAsked != parentBefore || memcmp(before, asked, sizeof asked) != 0) {
    return "the entry would move to another server";
  }
  return NULL;
}

static const char* ask(const char* operation, char* dn) {
  const int isSearch = strcmp(operation, "one") == 0 || strcmp(operation, "sub") == 0;
  if (strcmp(operation, "rename") == 0) {
    return askForRename(dn);
  }
  /* The empty DN is the root, where a search may begin. */
  if (faultOf(dn) != NULL && !(isSearch && *dn == '\0')) {
    return faultOf(dn);
  }
  if (strcmp(operation, "one") == 0) {
    askForChildren(dn);
  } else if (strcmp(operation, "sub") == 0) {
    askForSubtree(dn);
  } else if (strcmp(operation, "read") == 0 || strcmp(operation, "write") == 0) {
    askForEntry(dn);
  } else {
    return "no such request";
  }
  return NULL;
}

static void answer(const char* fault) {
  const char* separator = "";
  int i = 0;
  if (fault != NULL) {
    printf("error: %s\n", fault);
    return;
  }
  if (parentAsked) {
    printf("parent");
    separator = " ";
  }
  for (i = 0; i < first[baseCount]; ++i) {
    if (asked[i]) {
      printf("%s%s", separator, urls[i]);
      separator = " ";
    }
  }
  printf("\n");
}

/* --- Configuration --------------------------------------------------------------------------- */

/* The value of a line "key: value" without blanks around, as a text of its own; NULL for another
 * line. */
static char* valueOf(const char* line, const char* key) {
  const char* colon = strchr(line, ':');
  const char* end = line + strlen(line);
  size_t length = strlen(key);
  char* value = NULL;
  line += strspn(line, " \t");
  if (colon == NULL || strncasecmp(line, key, length) != 0 ||
      strspn(line + length, " \t") != (size_t)(colon - line) - length) {
    return NULL;
  }
  ++colon;
  while (isspace((unsigned char)*colon)) {
    ++colon;
  }
  while (end > colon && isspace((unsigned char)end[-1])) {
    --end;
  }
  value = strndup(colon, (size_t)(end - colon));
  if (value == NULL) {
    fail("no memory for", key);
  }
  return value;
}

static void readConfiguration(const char* name) {
  FILE* file = fopen(name, "r");
  char* line = NULL;
  size_t capacity = 0;
  if (file == NULL) {
    fail("cannot be opened", name);
  }
  while (getline(&line, &capacity, file) != -1) {
    char* base = valueOf(line, "basedn");
    char* url = valueOf(line, "url");
    if (base != NULL) {
      if (baseCount == maximalBases) {
        fail("too many base DNs in", name);
      }
      bases[baseCount] = base;
      first[baseCount + 1] = first[baseCount];
      ++baseCount;
    } else if (url != NULL) {
      if (baseCount == 0 || first[baseCount] == maximalServers) {
        fail("too many URLs, or one before the first base DN, in", name);
      }
      urls[first[baseCount]++] = url;
    }
  }
  free(line);
  fclose(file);
}

static void printProblem(const char* line, void* context) {
  (void)context;
  fprintf(stderr, "%s\n", line);
}

/* Returns the index of the first argument that is no option. */
static int loadSchemas(int argc, char** argv) {
  int i = 1;
  ldcf_api_schema_report_to(printProblem, NULL);
  ldcf_api_schema_init();
  for (; i + 1 < argc && strcmp(argv[i], "-s") == 0; i += 2) {
    bySchema = 1;
    ldcf_api_schema_parse(argv[i + 1]);
  }
  if (bySchema) {
    /* Entries are where names as these files have them say; a proxy may rather stop where there was
     * a problem that the split did not have. */
    ldcf_api_schema_complete();
  }
  return i;
}

int main(int argc, char** argv) {
  const int operand = loadSchemas(argc, argv);
  char* line = NULL;
  size_t capacity = 0;
  if (operand + 1 != argc) {
    fprintf(stderr, "usage: route [-s SCHEMAFILE]... CONFIGURATION < requests\n");
    return 1;
  }
  readConfiguration(argv[operand]);
  while (getline(&line, &capacity, stdin) != -1) {
    char* dn = NULL;
    line[strcspn(line, "\n")] = '\0';
    dn = strchr(line, ' ');
    forgetAnswer();
    if (dn == NULL) {
      answer("no such request");
      continue;
    }
    *dn++ = '\0';
    answer(ask(line, dn));
  }
  free(line);
  return 0;
}
