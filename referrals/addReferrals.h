// Referral entries (RFC 3296). Such an entry holds no data: it tells a client the URL of the server
// that has the data. Each server's file gets one for every other server. No step of the tool asks
// for them yet.
#ifndef REFERRALS_ADDREFERRALS_H
#define REFERRALS_ADDREFERRALS_H

#include <cstdio>
#include <map>
#include <string>

#include "referrals/VarnelReferralsException.h"

/// The object class of a referral entry, with its line end.
extern const char* const referralObjectclass;

/// Appends to every server's file one referral entry for each of the other servers, in the order of
/// their keys.
///
/// `servers`: each key is the LDAP URL of a server (the referral value), its value the name of the
/// file of that server, which must exist.
/// `dnLines`: each key is the first line of a referral entry ("dn: ...", without its line end), its
/// value the URL of the server that the entry points to. Of several lines for one server the last
/// in byte order is used. Without a line for it the entry begins with an empty line.
///
/// Prints message 43 for each server once all other files have the entry that points to it. Throws
/// VarnelReferralsException where a file does not exist (message 40), cannot be opened (no
/// message), or cannot be written and closed in full (message 41). What was written before stays.
void addReferrals(const std::map<std::string, std::string>& servers,
                  const std::map<std::string, std::string>& dnLines);

/// Writes one referral entry and an empty line behind it. No text may hold a NUL. Throws through
/// checkWriteError, with `fileName`, at the first piece that cannot be written in full; an empty
/// `referralValue` counts as one, on purpose. The stream may hold back what it took: only a
/// successful fclose or fflush tells that all is written.
void writeReferral(std::FILE* stream, std::string fileName, std::string referralValue,
                   std::string dnLine);

/// `itemsWritten` is what fwrite returned for one item. Where it is not 1, prints message 41 and
/// throws VarnelReferralsException with the file name as its message.
void checkWriteError(unsigned int itemsWritten, std::string fileName);

#endif
