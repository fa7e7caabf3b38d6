#include "platform/schema/SupertypeChains.h"

#include <utility>

namespace schema {

SupertypeChains::SupertypeChains(std::vector<std::size_t> supertypes)
    : supertypes_(std::move(supertypes)), states_(supertypes_.size(), State::unvisited) {
  for (std::size_t type = 0; type < supertypes_.size(); ++type) {
    walk(type);
  }
}

void SupertypeChains::walk(std::size_t type) {
  std::vector<std::size_t> path;
  std::size_t at = type;
  while (at != none && at != undefined && states_[at] == State::unvisited) {
    states_[at] = State::onPath;
    path.push_back(at);
    at = supertypes_[at];
  }
  if (at != none && at != undefined && states_[at] == State::onPath) {
    markCycle(path, at);
  }
  for (auto one = path.rbegin(); one != path.rend(); ++one) {
    if (states_[*one] == State::onPath) {
      states_[*one] = stateFromSupertype(*one);
    }
    if (states_[*one] == State::whole) {
      topDown_.push_back(*one);
    }
  }
}

void SupertypeChains::markCycle(const std::vector<std::size_t>& path, std::size_t entry) {
  for (auto one = path.rbegin(); one != path.rend(); ++one) {
    states_[*one] = State::inCycle;
    if (*one == entry) {
      return;
    }
  }
}

SupertypeChains::State SupertypeChains::stateFromSupertype(std::size_t type) const {
  const std::size_t parent = supertypes_[type];
  if (parent == undefined) {
    return State::cut;
  }
  return parent == none || states_[parent] == State::whole ? State::whole : State::belowFault;
}

}  // namespace schema
