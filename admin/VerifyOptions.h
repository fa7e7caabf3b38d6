// What the user asks verify for.
#ifndef ADMIN_VERIFYOPTIONS_H
#define ADMIN_VERIFYOPTIONS_H

#include <cstddef>

#include "admin/CommonOptions.h"

struct VerifyOptions {
  CommonOptions common;
  bool names = false;      ///< the files are exports of servers
  bool json = false;       ///< print the result as JSON
  std::size_t limit = 20;  ///< how many differences are named
};

#endif
