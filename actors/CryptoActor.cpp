#include "actors/CryptoActor.h"

#include "platform/trace/trace.h"

const char* const cryptoDN = "CN=LOCALHOST";
const char* const cryptoDNChild = "CN=CRYPTO";

CryptoActor::CryptoActor(const std::string& base, const std::vector<std::string>& files)
    : LdifActor(base, {}) {
  outputFiles = files;
}

std::vector<std::string>* CryptoActor::doGetOutputFilename(const std::string& dn) {
  traceEntry(dn);
  return new std::vector<std::string>(outputFiles);
}

FileNames CryptoActor::outputFilesOf(const dirclient::NormalDn& dn) {
  traceEntry(dn.text());
  return allOutputFiles();
}

void CryptoActor::traceEntry(const std::string& dn) const {
  TRACE(traceProgress, "CryptoActor received entry:  dn =%s=\n", dn.c_str());
  for (const std::string& name : outputFiles) {
    TRACE(traceProgress, "CryptoFilename:  %s\n", name.c_str());
  }
}

void CryptoActor::receiveEntry(const LdifEntry& /*entry*/) {}
