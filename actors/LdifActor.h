// Actors: each owns one base DN and says which output files receive an entry.
#ifndef ACTORS_LDIFACTOR_H
#define ACTORS_LDIFACTOR_H

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "actors/LdifEntry.h"
#include "actors/LdifIterateException.h"

/// One server of a base DN: its (key, value) pairs in configuration order, the output file last.
using ServerPairs = std::vector<std::pair<std::string, std::string>>;

class LdifActor {
 public:
  virtual ~LdifActor() = default;
  LdifActor(const LdifActor&) = delete;
  LdifActor& operator=(const LdifActor&) = delete;

  /// The output files of the entry `dn`, in a new list that the caller deletes; never a null
  /// pointer. The base DN itself and the DNs above it go to all files of the actor, in server
  /// order; for any other DN the kind of actor decides.
  std::vector<std::string>* getOutputFilename(const std::string& dn);
  std::vector<std::string>* getOutputFilename(LdifEntry& entry);

// C++14 deprecates dynamic exception lists; here they are wanted: any other exception ends the
// program.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated"
  /// Called once before the split. Runs the input pass where the actor needs it.
  void ldifIterate(const std::string& inputFile) throw(LdifIterateException);

  /// The input pass: reads an LDIF file and gives each entry to receiveEntry. Throws with line 0
  /// where the file cannot be opened, with its number where a line is not valid LDIF. Lines are
  /// read with getNextLine into a buffer without room, so in this release the pass ends before the
  /// first line.
  void doLdifIterate(const std::string& inputFile) throw(LdifIterateException);
#pragma GCC diagnostic pop

  const std::string& getBaseDn() const {
    return baseDn;
  }
  const std::vector<std::string>& getOutputFiles() const {
    return outputFiles;
  }
  bool isActivated() const {
    return activated;
  }

 protected:
  LdifActor(const std::string& base, const std::vector<ServerPairs>& servers);

  /// The base DN as an entry, normalised by the schema in use now.
  LdifEntry& baseEntry() const;

  bool activated = false;       // ldifIterate was called
  bool needsInputPass = false;  // ldifIterate is to read the input; no actor asks for it yet
  bool spareFlag = false;
  std::vector<ServerPairs> serverLists;  // in server order
  std::string baseDn;
  std::vector<std::string> outputFiles;  // in server order

 private:
  /// Routes a normalised DN that is neither the base DN nor above it; it may be elsewhere than
  /// below it. The new list is the caller's to delete.
  virtual std::vector<std::string>* doGetOutputFilename(const std::string& dn) = 0;

  /// Takes one entry of the input pass.
  virtual void receiveEntry(const LdifEntry& entry) = 0;

  mutable LdifEntry baseEntry_;
  mutable bool baseEntryIsBySchema_ = false;
};

/// Reads one line with fgets into `*buffer`, which has room for `*capacity` bytes and never grows.
/// Returns its length, or -1 where nothing was read.
int getNextLine(char** buffer, unsigned int* capacity, std::FILE* stream);

#endif
