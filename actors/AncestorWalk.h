// The way from a DN up to its ancestors.
#ifndef ACTORS_ANCESTORWALK_H
#define ACTORS_ANCESTORWALK_H

#include <memory>
#include <string>

#include "actors/LdifEntry.h"

/// Visits a DN and then each of its ancestors, nearest first, as repeated calls of
/// nLdifActor::getParent yield them. Where the DN is known to be in normal form and no RDN has
/// several values, an ancestor is a tail of its text, and no step parses or allocates anything.
class AncestorWalk {
 public:
  /// Starts at `dn` as it is written; the string has to outlive the walk.
  explicit AncestorWalk(const std::string& dn);

  /// Starts at the entry's DN; the entry has to outlive the walk.
  explicit AncestorWalk(const LdifEntry& entry);

  /// Whether the DN visited is exactly `dn`.
  bool isAt(const std::string& dn) const {
    return current_->size() - offset_ == dn.size() &&
           current_->compare(offset_, std::string::npos, dn) == 0;
  }

  /// The DN visited.
  std::string text() const { return current_->substr(offset_); }

  /// Moves to the parent; false, without a move, where there is none.
  bool up();

 private:
  const std::string* current_;
  std::string::size_type offset_ = 0;
  bool parentsAreTails_;
  std::unique_ptr<std::string> parent_;  // what current_ points at once a step was computed
};

#endif
