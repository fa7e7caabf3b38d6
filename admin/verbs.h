// The verbs of varnelctl, one source each, and what the user may ask them for. The command line is
// read in commandLine.cpp.
#ifndef ADMIN_VERBS_H
#define ADMIN_VERBS_H

#include <cstddef>
#include <string>
#include <vector>

#include "admin/CommonOptions.h"
#include "admin/ProbeLogin.h"
#include "admin/exitStatus.h"

struct CheckOptions {
  CommonOptions common;
  bool json = false;  ///< print the result as JSON
};

struct PlanOptions {
  static constexpr int mostServers = 1000;

  CommonOptions common;
  int servers = 0;  ///< of each base DN, to be compared with those that it has; 0: no comparison
  bool json = false;
};

struct SplitOptions {
  CommonOptions common;
  bool replace = false;  ///< output files that exist
  bool quiet = false;    ///< no progress line and no table
};

struct VerifyOptions {
  CommonOptions common;
  bool names = false;  ///< the files are exports of servers
  bool json = false;
  std::size_t limit = 20;  ///< how many differences are named
};

struct ProbeOptions {
  static constexpr const char* everyEntry = "all";

  CommonOptions common;
  bool json = false;
  std::string sample = "1000";  ///< a number, or everyEntry
  bool others = false;          ///< ask the other servers, too
  std::string passwordFile;     ///< empty: there is none
  std::size_t limit = 20;       ///< how many entries are named
  ProbeLogin login;
};

struct WhereOptions {
  CommonOptions common;
  bool json = false;
  std::vector<std::string> names;  ///< none: those on standard input
};

struct FoldOptions {
  std::string file;  ///< empty, or "-": standard input
};

// Each does what the verb of its name is for, and throws SystemError where the system fails.

ExitStatus check(const CheckOptions& options);
ExitStatus plan(const PlanOptions& options);
ExitStatus split(const SplitOptions& options);
ExitStatus verify(const VerifyOptions& options);
ExitStatus probe(ProbeOptions options);
ExitStatus where(const WhereOptions& options);
ExitStatus fold(const FoldOptions& options);

#endif
