#include "platform/schema/Builder.h"

#include <algorithm>
#include <utility>

#include "platform/schema/Description.h"
#include "platform/text/ascii.h"
#include "platform/text/equalIgnoringCase.h"

namespace schema {

namespace {

bool sameNames(const std::vector<std::string>& a, const std::vector<std::string>& b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!text::equalIgnoringCase(a[i], b[i])) {
      return false;
    }
  }
  return true;
}

/// The rule where the definition alone decides on it; nothing where a supertype does.
std::optional<EqualityRule> ownEquality(const AttributeDefinition& definition) {
  const bool inherits = !definition.equality && !definition.supertype.empty();
  return inherits ? std::nullopt : std::optional(definition.equality.value_or(EqualityRule::none));
}

/// Whether both definitions of one OID lead to the same normal forms of DNs.
bool agree(const AttributeDefinition& a, const AttributeDefinition& b) {
  return sameNames(a.names, b.names) && text::equalIgnoringCase(a.supertype, b.supertype) &&
         ownEquality(a) == ownEquality(b);
}

std::string textOf(const Place& place) {
  return place.file + ", line " + std::to_string(place.line);
}

std::string labelOf(const AttributeDefinition& definition) {
  return shown(definition.names.empty() ? definition.oid : definition.names.front());
}

/// The name that normal forms use: the first one. Only an attribute type with the name `cn` is
/// always CN, even where another name stands first: the entries below cn=localhost are recognised
/// by it.
std::string canonicalType(const AttributeType& type) {
  const bool isCn = std::any_of(type.names.begin(), type.names.end(), [](const auto& name) {
    return text::equalIgnoringCase(name, "cn");
  });
  if (isCn) {
    return "CN";
  }
  std::string canonical = type.names.empty() ? type.oid : type.names.front();
  std::transform(canonical.begin(), canonical.end(), canonical.begin(), text::toAsciiUpper);
  return canonical;
}

AttributeType attributeTypeOf(AttributeDefinition& definition, EqualityRule equality) {
  AttributeType type;
  type.oid = std::move(definition.oid);
  type.names = std::move(definition.names);
  type.canonicalType = canonicalType(type);
  type.equality = equality;
  return type;
}

}  // namespace

void Builder::report(const Problem& problem) {
  ++problemCount_;
  sink_(problem);
}

bool Builder::belongsToAnother(std::string_view key, const AttributeDefinition& definition) {
  const auto found = byKey_.find(key);
  if (found == byKey_.end()) {
    return false;
  }
  const AttributeDefinition& other = definitions_[found->second];
  if (text::equalIgnoringCase(other.oid, definition.oid)) {
    return false;
  }
  report({Problem::Kind::redefinition, definition.place.file, definition.place.line,
          "the name " + shown(key) + " belongs to the attribute type " + shown(other.oid) + " of " +
              textOf(other.place) + ", so this definition is left out"});
  return true;
}

bool Builder::claimsForeignKey(const AttributeDefinition& definition) {
  return belongsToAnother(definition.oid, definition) ||
         std::any_of(definition.names.begin(), definition.names.end(),
                     [&](const std::string& name) { return belongsToAnother(name, definition); });
}

void Builder::indexNames(std::size_t position) {
  byKey_.emplace(definitions_[position].oid, position);
  for (const std::string& name : definitions_[position].names) {
    byKey_.emplace(name, position);
  }
}

void Builder::replace(std::size_t position, AttributeDefinition definition) {
  AttributeDefinition& earlier = definitions_[position];
  if (!agree(earlier, definition)) {
    report({Problem::Kind::redefinition, definition.place.file, definition.place.line,
            "the attribute type " + shown(definition.oid) + " stands with another NAME, SUP or " +
                "EQUALITY in " + textOf(earlier.place) + "; this definition takes its place"});
  }
  for (const std::string& name : earlier.names) {
    byKey_.erase(name);
  }
  earlier = std::move(definition);
  indexNames(position);
}

void Builder::addAttributeType(AttributeDefinition definition) {
  if (claimsForeignKey(definition)) {
    return;
  }
  const auto found = byKey_.find(definition.oid);
  if (found != byKey_.end()) {
    replace(found->second, std::move(definition));
    return;
  }
  definitions_.push_back(std::move(definition));
  indexNames(definitions_.size() - 1);
}

void Builder::addOtherNames(const std::vector<std::string_view>& names, const std::string& oid) {
  for (const std::string_view name : names) {
    otherNames_.emplace(name, oid);
  }
}

void Builder::addMacro(std::string_view name, const std::string& oid, const Place& place) {
  const auto [found, added] = macros_.emplace(name, oid);
  if (!added && found->second != oid) {
    report({Problem::Kind::redefinition, place.file, place.line,
            "the macro " + shown(name) + " stood for " + shown(found->second) +
                " until here, and stands for " + shown(oid) + " from here on"});
    found->second = oid;
  }
}

std::optional<std::string> Builder::expandMacro(std::string_view text) const {
  const std::size_t colon = text.find(':');
  const auto found = macros_.find(text.substr(0, colon));
  if (found == macros_.end()) {
    return std::nullopt;
  }
  if (colon == std::string_view::npos) {
    return found->second;
  }
  return found->second + '.' + std::string(text.substr(colon + 1));
}

std::size_t Builder::findSupertype(const std::string& supertype) const {
  if (supertype.empty()) {
    return SupertypeChains::none;
  }
  auto found = byKey_.find(supertype);
  if (found == byKey_.end()) {
    if (const std::optional<std::string> oid = expandMacro(supertype)) {
      found = byKey_.find(*oid);
    }
  }
  return found != byKey_.end() ? found->second : SupertypeChains::undefined;
}

SupertypeChains Builder::supertypeChains() const {
  std::vector<std::size_t> supertypes;
  supertypes.reserve(definitions_.size());
  for (const AttributeDefinition& definition : definitions_) {
    supertypes.push_back(findSupertype(definition.supertype));
  }
  return SupertypeChains(std::move(supertypes));
}

void Builder::reportBrokenChain(const AttributeDefinition& definition,
                                SupertypeChains::State state) {
  const bool cycle = state == SupertypeChains::State::inCycle;
  std::string reason =
      "attribute type " + labelOf(definition) + " with SUP " + shown(definition.supertype);
  if (cycle) {
    reason += " is its own ancestor";
  } else if (state == SupertypeChains::State::cut) {
    reason += ", which no file defines";
  } else {
    reason += ", which itself has no whole chain of supertypes";
  }
  report({cycle ? Problem::Kind::supertypeCycle : Problem::Kind::missingSupertype,
          definition.place.file, definition.place.line, reason});
}

Definitions Builder::complete() {
  const SupertypeChains chains = supertypeChains();
  std::vector<EqualityRule> equality(definitions_.size(), EqualityRule::none);
  for (const std::size_t i : chains.topDown()) {
    const std::size_t supertype = chains.supertype(i);
    const EqualityRule inherited =
        supertype == SupertypeChains::none ? EqualityRule::none : equality[supertype];
    equality[i] = definitions_[i].equality.value_or(inherited);
  }
  std::vector<AttributeType> types;
  types.reserve(chains.topDown().size());
  for (std::size_t i = 0; i < definitions_.size(); ++i) {
    if (chains.state(i) == SupertypeChains::State::whole) {
      types.push_back(attributeTypeOf(definitions_[i], equality[i]));
    } else {
      reportBrokenChain(definitions_[i], chains.state(i));
    }
  }
  definitions_.clear();
  byKey_.clear();
  macros_.clear();
  return {std::move(types), std::exchange(otherNames_, {})};
}

}  // namespace schema
