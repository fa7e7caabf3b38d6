#include "referrals/addReferrals.h"

#include <cstring>

#include "common/AutoClose.h"
#include "ldifsplit/openNewLdif.h"
#include "platform/files/files.h"
#include "platform/messages/PrintMessage.h"

const char* const referralObjectclass = "referral\n";

namespace {

void writePiece(std::FILE* stream, const std::string& fileName, const char* piece) {
  const std::size_t items = std::fwrite(piece, std::strlen(piece), 1, stream);
  checkWriteError(static_cast<unsigned int>(items), fileName);
}

/// The first line of the entry that points to a server.
std::string findDnLine(const std::map<std::string, std::string>& dnLines,
                       const std::string& referralValue) {
  std::string found;
  for (const auto& line : dnLines) {
    if (line.second == referralValue) {
      found = line.first;
    }
  }
  return found;
}

void addReferral(const std::string& fileName, const std::string& referralValue,
                 const std::map<std::string, std::string>& dnLines) {
  if (doesFileExist(fileName.c_str()) == 0) {
    PrintMessage(32, 1, 40, fileName.c_str());
    throwFileOpenException<VarnelReferralsException>(fileName);
  }
  AutoClose stream(openExistingLdif<VarnelReferralsException>(fileName.c_str()));
  writeReferral(stream.get(), fileName, referralValue, findDnLine(dnLines, referralValue));
  // On a full disk it is this last flush that fails.
  const bool closed = std::fclose(stream.release()) == 0;
  checkWriteError(closed ? 1 : 0, fileName);
}

}  // namespace

void addReferrals(const std::map<std::string, std::string>& servers,
                  const std::map<std::string, std::string>& dnLines) {
  for (const auto& server : servers) {
    for (const auto& other : servers) {
      if (other.first != server.first) {
        addReferral(other.second, server.first, dnLines);
      }
    }
    PrintMessage(32, 1, 43, server.second.c_str());
  }
}

void writeReferral(std::FILE* stream, std::string fileName, std::string referralValue,
                   std::string dnLine) {
  dnLine += '\n';
  for (const char* piece : {dnLine.c_str(), "objectclass: ", referralObjectclass,
                            "ref: ", referralValue.c_str(), "\n\n"}) {
    writePiece(stream, fileName, piece);
  }
}

void checkWriteError(unsigned int itemsWritten, std::string fileName) {
  if (itemsWritten != 1) {
    PrintMessage(32, 1, 41, fileName.c_str());
    throwFileWriteException<VarnelReferralsException>(fileName, 0);
  }
}
