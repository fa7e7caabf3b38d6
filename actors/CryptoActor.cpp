#include "actors/CryptoActor.h"

#include <memory>

#include "platform/trace/trace.h"

const char* const cryptoDN = "CN=LOCALHOST";
const char* const cryptoDNChild = "CN=CRYPTO";

CryptoActor::CryptoActor(const std::string& base, const std::vector<std::string>& files)
    : LdifActor(base, {}) {
  outputFiles = files;
}

std::vector<std::string>* CryptoActor::doGetOutputFilename(const std::string& dn) {
  TRACE(traceProgress, "CryptoActor received entry:  dn =%s=\n", dn.c_str());
  std::unique_ptr<std::vector<std::string>> files(new std::vector<std::string>(outputFiles));
  for (const std::string& name : *files) {
    TRACE(traceProgress, "CryptoFilename:  %s\n", name.c_str());
  }
  return files.release();
}

void CryptoActor::receiveEntry(const LdifEntry& /*entry*/) {}
