#ifndef ACTORS_HASHACTOR_H
#define ACTORS_HASHACTOR_H

#include <set>
#include <string>
#include <vector>

#include "actors/LdifActor.h"

/// The actor of a base DN that is split by hash: each entry below it goes to the one server that
/// the client library's DN hash picks, as the proxy in front of the servers does.
class HashActor : public LdifActor {
 public:
  /// `servers` in server order; the output file is the value of the last pair of each, whatever its
  /// key. No list may be empty.
  HashActor(const std::string& base, const std::vector<ServerPairs>& servers);

 private:
  /// One file. For a DN that is not below the base DN its name is empty.
  std::vector<std::string>* doGetOutputFilename(const std::string& dn) override;
  FileNames outputFilesOf(const dirclient::NormalDn& dn) override;

  /// Does nothing: the hash needs no look at the input.
  void receiveEntry(const LdifEntry& entry) override;

  bool isInside(const dirclient::NormalDn& dn, const dirclient::NormalDn& base) const;

  /// The number of the server that holds `dn`, from 1; 0 where it is not below `base`, which is the
  /// base DN in normal form.
  int serverNumber(const dirclient::NormalDn& dn, const dirclient::NormalDn& base) const;

  std::set<std::string> nameSet;
  const std::string noFile_;  // the name of the file of a DN that is not below the base DN
  std::vector<const std::string*> fileOfServer_;  // by server number
};

#endif
