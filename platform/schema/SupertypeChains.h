// Which attribute types have all the supertypes (SUP) that they inherit from.
#ifndef PLATFORM_SCHEMA_SUPERTYPECHAINS_H
#define PLATFORM_SCHEMA_SUPERTYPECHAINS_H

#include <cstddef>
#include <limits>
#include <vector>

namespace schema {

/// Follows each attribute type to its supertype, on to the supertype of that one, and so on. A
/// chain is whole if it ends at a type that has no supertype; a schema file may also have chains
/// that end at a type which nobody defines, or that run in a circle. Takes time and memory in
/// proportion to the number of types, however long a chain is, and does not recurse.
class SupertypeChains {
 public:
  /// In place of a supertype's index: the type has none, or one that is not defined.
  static constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t undefined = none - 1;

  enum class State {
    unvisited,
    onPath,      ///< only while the chains are walked
    whole,       ///< leads to a type without a supertype
    cut,         ///< the type's own supertype is not defined
    inCycle,     ///< the type is its own ancestor
    belowFault,  ///< an ancestor is cut or in a cycle
  };

  /// `supertypes[i]` is the index of i's supertype, `none` or `undefined`.
  explicit SupertypeChains(std::vector<std::size_t> supertypes);

  std::size_t supertype(std::size_t type) const { return supertypes_[type]; }
  State state(std::size_t type) const { return states_[type]; }

  /// The types with whole chains, each one after its supertype.
  const std::vector<std::size_t>& topDown() const { return topDown_; }

 private:
  void walk(std::size_t type);
  void markCycle(const std::vector<std::size_t>& path, std::size_t entry);
  State stateFromSupertype(std::size_t type) const;

  std::vector<std::size_t> supertypes_;
  std::vector<State> states_;
  std::vector<std::size_t> topDown_;
};

}  // namespace schema

#endif
