#ifndef ACTORS_CRYPTOACTOR_H
#define ACTORS_CRYPTOACTOR_H

#include <string>
#include <vector>

#include "actors/LdifActor.h"

/// The base DN of the crypto subtree, as it stands in the actor map, and its child entry.
extern const char* const cryptoDN;
extern const char* const cryptoDNChild;

/// The actor of the crypto subtree, of which every server gets an identical copy.
class CryptoActor : public LdifActor {
 public:
  /// `files`: every output file of every other actor, each once, in ascending byte order.
  CryptoActor(const std::string& base, const std::vector<std::string>& files);

 private:
  /// All files, whatever the DN.
  std::vector<std::string>* doGetOutputFilename(const std::string& dn) override;
  FileNames outputFilesOf(const dirclient::NormalDn& dn) override;
  void traceEntry(const std::string& dn) const;

  /// Does nothing: the routing does not depend on the input.
  void receiveEntry(const LdifEntry& entry) override;
};

#endif
