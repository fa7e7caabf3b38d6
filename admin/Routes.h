// Where a name belongs.
#ifndef ADMIN_ROUTES_H
#define ADMIN_ROUTES_H

#include <map>
#include <string>
#include <vector>

#include "actors/LdifActor.h"
#include "ldifsplit/BaseDnIndex.h"
#include "platform/dirclient/NormalDn.h"

/// Routes single names as the engine does its records.
class Routes {
 public:
  /// Both have to outlive this.
  Routes(const std::map<std::string, LdifActor*>& actors, const std::string& defaultOutputFile);
  Routes(const Routes&) = delete;
  Routes& operator=(const Routes&) = delete;

  /// The files of the name, which may be in any spelling; none where it is no usable DN.
  std::vector<std::string> filesOf(const std::string& dn);

  /// Whether the file is among them.
  bool belongsIn(const std::string& dn, const std::string& file);

 private:
  const std::vector<std::string> baseDns_;
  const ldifsplit::BaseDnIndex index_;
  std::vector<LdifActor*> actors_;  // by the index of their base DN
  const std::string& defaultOutputFile_;
  dirclient::NormalDn dn_;
};

#endif
