// Referral entries: each server's file gets entries that point to what the other servers hold. No
// step of the tool asks for them yet.
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
/// `servers`: by referral value (an LDAP URL that names the server) the name of the server's file,
/// which must exist. `dnLines`: by the first line of an entry, without its line end, the referral
/// value of the server that holds it; where several lines name one server the greatest is used, and
/// where none does the entry begins with an empty line.
///
/// Prints message 43 for each server once all other files have its entry. Throws
/// VarnelReferralsException where a file does not exist (message 40), cannot be opened (no
/// message), or is not written in full, closing included (message 41); what was written before
/// stays.
void addReferrals(const std::map<std::string, std::string>& servers,
                  const std::map<std::string, std::string>& dnLines);

/// Writes one referral entry, "\n\n" at its end included. No text may hold a NUL. Throws through
/// checkWriteError at the first piece that is not written in full, with `fileName`; that an empty
/// `referralValue` is such a piece is intended. What a buffered stream still holds is known to be
/// written only after a successful fclose or fflush.
void writeReferral(std::FILE* stream, std::string fileName, std::string referralValue,
                   std::string dnLine);

/// Takes the number of items that fwrite has written of one: for any other than 1 prints message 41
/// and throws VarnelReferralsException, its message the file name.
void checkWriteError(unsigned int itemsWritten, std::string fileName);

#endif
