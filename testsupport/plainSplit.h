// A second split, to compare the first with: as plain as it can be, with texts where the tool has
// quicker ways.
#ifndef TESTSUPPORT_PLAINSPLIT_H
#define TESTSUPPORT_PLAINSPLIT_H

#include <map>
#include <string>
#include <vector>

/// How a split ended, and what it left behind.
struct SplitOutcome {
  enum Kind { finished, splitException, outputException };

  Kind kind = finished;
  int line = 0;                              // of the exception
  std::string message;                       // of the exception
  bool isReported = false;                   // whether message 33 told of the line
  std::map<std::string, std::string> files;  // the content of each output file that was opened
};

/// The files of the servers of each base DN in normal form, in server order.
using ServerFiles = std::map<std::string, std::vector<std::string>>;

/// Splits `input`, the bytes of an LDIF file, in memory. Entries at or below CN=LOCALHOST go to
/// every file that `servers` names; entries below no base DN go to `defaultFile`; entries whose
/// "dn" line is before line `firstLine` go nowhere. Names of files are names only.
SplitOutcome plainSplit(const std::string& input, const ServerFiles& servers,
                        const std::string& defaultFile, int firstLine);

#endif
