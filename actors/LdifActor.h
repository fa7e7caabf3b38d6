// Actors: each owns one base DN and says which output files receive an entry.
#ifndef ACTORS_LDIFACTOR_H
#define ACTORS_LDIFACTOR_H

#include <cstddef>
#include <cstdio>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "actors/LdifEntry.h"
#include "actors/LdifIterateException.h"
#include "platform/dirclient/NormalDn.h"

/// One server of a base DN: its (key, value) pairs in configuration order, the output file last.
using ServerPairs = std::vector<std::pair<std::string, std::string>>;

/// File names that stand somewhere else, in the order of their list. Each name lives, unchanged and
/// at its place, as long as the actor that listed it.
class FileNames {
 public:
  FileNames(const std::string* const* first, std::size_t count) : first_(first), count_(count) {}

  const std::string* const* begin() const { return first_; }
  const std::string* const* end() const { return first_ + count_; }
  std::size_t size() const { return count_; }

 private:
  const std::string* const* first_;
  std::size_t count_;
};

class LdifActor {
 private:
  // The virtual functions stand in this order: these two, the destructor, outputFilesOf.

  /// Routes a normalised DN that is neither the base DN nor above it; it may be elsewhere than
  /// below it. The new list is the caller's to delete.
  virtual std::vector<std::string>* doGetOutputFilename(const std::string& dn) = 0;

  /// Takes one entry of the input pass.
  virtual void receiveEntry(const LdifEntry& entry) = 0;

 public:
  virtual ~LdifActor() = default;
  LdifActor(const LdifActor&) = delete;
  LdifActor& operator=(const LdifActor&) = delete;

  /// The output files of the entry `dn`, in a new list that the caller deletes; never a null
  /// pointer. The base DN itself and the DNs above it go to all files of the actor, in server
  /// order; for any other DN the kind of actor decides.
  std::vector<std::string>* getOutputFilename(const std::string& dn);

  /// The same for the split, which asks for each of millions of entries: the DN comes in normal
  /// form, and the names are not copied. The list is valid until the next call. The base DN counts
  /// in the form that it got when the actor was made.
  FileNames getOutputFilename(const dirclient::NormalDn& dn);

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
  /// Of the names that the overload for the split was asked for: whether the base DN was among
  /// them, and whether any other was.
  bool wasAskedForBaseDn() const {
    return wasAskedForBaseDn_;
  }
  bool wasAskedForOtherDn() const {
    return wasAskedForOtherDn_;
  }
  bool isActivated() const {
    return activated;
  }

 protected:
  LdifActor(const std::string& base, const std::vector<ServerPairs>& servers);

  bool activated = false;       // ldifIterate was called
  bool needsInputPass = false;  // ldifIterate is to read the input; no actor asks for it yet
  bool spareFlag = false;
  std::vector<ServerPairs> serverLists;  // in server order
  std::string baseDn;
  std::vector<std::string> outputFiles;  // in server order

  /// The base DN in normal form, by the schema in use when the actor was made.
  const dirclient::NormalDn& normalBaseDn() const {
    return normalBaseDn_;
  }

  /// All of outputFiles. They must not change once this was called.
  FileNames allOutputFiles();

 private:
  /// What doGetOutputFilename says, without copies. An actor that has no quicker way leaves it to
  /// this one, which calls that function.
  virtual FileNames outputFilesOf(const dirclient::NormalDn& dn);

  dirclient::NormalDn normalBaseDn_;
  bool wasAskedForBaseDn_ = false;
  bool wasAskedForOtherDn_ = false;
  std::vector<std::string> atOrAboveBaseDn_;        // normalBaseDn_ and the way up from it
  std::vector<const std::string*> allOutputFiles_;  // into outputFiles
  std::set<std::string> listedNames_;       // every name that doGetOutputFilename ever listed
  std::vector<const std::string*> listed_;  // its last list, of names in that set
};

/// Reads one line with fgets into `*buffer`, which has room for `*capacity` bytes and never grows.
/// Returns its length, or -1 where nothing was read.
int getNextLine(char** buffer, unsigned int* capacity, std::FILE* stream);

#endif
