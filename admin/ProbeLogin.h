// How probe introduces itself.
#ifndef ADMIN_PROBELOGIN_H
#define ADMIN_PROBELOGIN_H

#include <string>

/// How servers are reached.
struct ProbeLogin {
  std::string bindDn;  ///< empty: anonymous
  std::string password;
  bool startTls = false;
  std::string caFile;  ///< certificates that are trusted; empty: those of the system
  int timeout = 10;    ///< seconds for each answer
};

#endif
