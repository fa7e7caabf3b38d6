// The way from a DN up to its ancestors.
#ifndef ACTORS_ANCESTORWALK_H
#define ACTORS_ANCESTORWALK_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

#include "platform/dirclient/NormalDn.h"

/// Visits a DN and then each of its ancestors, nearest first, as repeated calls of
/// nLdifActor::getParent yield them. An ancestor is a tail of the DN's text, so that a step costs
/// next to nothing. Only where an RDN above the first has several values it is another: there the
/// first step calls getParent, which leaves no such RDN for the steps behind it.
class AncestorWalk {
 public:
  /// Starts at `dn`, which has to outlive the walk.
  explicit AncestorWalk(const dirclient::NormalDn& dn) : current_(&dn) {}
  AncestorWalk(const AncestorWalk&) = delete;
  AncestorWalk& operator=(const AncestorWalk&) = delete;

  /// The DN visited: `size()` bytes at `data()`, not NUL-terminated. Valid until the next step.
  const char* data() const { return current_->text().data() + begin(); }
  std::size_t size() const { return current_->text().size() - begin(); }

  /// Whether the DN visited is exactly `dn`.
  bool isAt(const std::string& dn) const {
    return size() == dn.size() && std::memcmp(data(), dn.data(), dn.size()) == 0;
  }

  /// Moves to the parent; false, without a move, where there is none.
  bool up() {
    if (rdn_ + 1 >= current_->rdnCount()) {
      return false;
    }
    if (current_->lastRdnOfSeveralValues() > rdn_) {
      computeParent();
    } else {
      ++rdn_;
    }
    return true;
  }

 private:
  std::size_t begin() const { return rdn_ == 0 ? 0 : current_->rdnBegin(rdn_); }
  void computeParent();

  const dirclient::NormalDn* current_;
  std::size_t rdn_ = 0;                          // of current_; where the DN visited begins
  std::unique_ptr<dirclient::NormalDn> parent_;  // what current_ points at once it was computed
};

#endif
