// How a fuzz target states what must hold for every input.
#ifndef FUZZ_REQUIRE_H
#define FUZZ_REQUIRE_H

#include <cstdio>
#include <cstdlib>

/// Does nothing where the claim holds. Else prints it and aborts the process, at which the fuzzer
/// keeps the input.
inline void require(bool holds, const char* claim) {
  if (!holds) {
    std::fprintf(stderr, "does not hold: %s\n", claim);
    std::abort();
  }
}

#endif
