// The entries of an LDIF text, read another way than the split reads them.
#ifndef FUZZ_ENTRIESOF_H
#define FUZZ_ENTRIESOF_H

#include <string>
#include <vector>

struct PlainEntry {
  std::string dn;     // in normal form; empty where the "dn" line holds none
  std::string lines;  // the others, comments and empty ones left out, byte for byte
  int line;           // the number of the last physical line of its "dn" line
};

/// The entries, in order. One begins at each line of type "dn", given as text or in base64 (RFC
/// 2849); whatever stands before the first is left out. Lines may be of any length.
std::vector<PlainEntry> entriesOf(const std::string& text);

#endif
