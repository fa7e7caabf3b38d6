#ifndef REFERRALS_VARNELREFERRALSEXCEPTION_H
#define REFERRALS_VARNELREFERRALSEXCEPTION_H

#include "common/InputFileException.h"

/// A referral entry cannot be added to a server's file. The line is always 0.
class VarnelReferralsException : public InputFileException {
 public:
  using InputFileException::InputFileException;
};

#endif
