/* What a proxy does to route a request: says for each DN on standard input, one a line, which
 * server of a base DN that is split by hash holds its entry.
 *
 *   which_server BASEDN COUNT < dns */

#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <varnel/dirclient.h>

int main(int argc, char** argv) {
  char* line = NULL;
  size_t capacity = 0;
  int count = 0;

  if (argc != 3 || (count = (int)strtol(argv[2], NULL, 10)) < 1) {
    fprintf(stderr, "usage: which_server BASEDN COUNT < dns\n");
    return 1;
  }
  while (getline(&line, &capacity, stdin) != -1) {
    line[strcspn(line, "\n")] = '\0';
    printf("%d\n", get_hash_value_from_dn(line, argv[1], count));
  }
  free(line);
  return 0;
}
