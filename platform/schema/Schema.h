// The attribute types of a loaded schema, as DN normalisation asks for them.
#ifndef PLATFORM_SCHEMA_SCHEMA_H
#define PLATFORM_SCHEMA_SCHEMA_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/schema/NameMap.h"
#include "platform/text/ascii.h"

namespace schema {

/// How two values of an attribute compare for equality (RFC 4517, section 4.2); the rules that DN
/// normalisation treats in ways of their own. `none`: neither the attribute type nor any of its
/// supertypes has an EQUALITY rule, or the rule is not listed here.
enum class EqualityRule {
  none,
  caseIgnore,
  caseIgnoreIA5,
  caseIgnoreList,
  caseExact,
  caseExactIA5,
  distinguishedName,
  integer,
  numericString,
  telephoneNumber,
  boolean,
  generalizedTime,
  objectIdentifier,
  octetString,
  bitString,
};

/// An attribute type (RFC 4512, section 4.1.2), with what it inherits from its supertypes (SUP).
struct AttributeType {
  std::string oid;                 ///< dotted number, without macros
  std::vector<std::string> names;  ///< as written, first name first; may be empty
  std::string canonicalType;       ///< first name in upper case, or the OID where there is no name
  EqualityRule equality = EqualityRule::none;
};

/// What a schema is made of.
struct Definitions {
  std::vector<AttributeType> attributeTypes;
  /// The dotted numbers of the definitions that are no attribute types, by their names.
  NameMap<std::string, std::string> otherNames;
};

/// An immutable set of definitions.
class Schema {
 public:
  /// Each number and name of the attribute types finds its type; where two have the same name the
  /// earlier one is found.
  explicit Schema(Definitions definitions);
  Schema(const Schema&) = delete;
  Schema& operator=(const Schema&) = delete;

  /// The attribute type of that name, in any case, or dotted number (without an "oid." prefix); a
  /// null pointer where the schema has none. Allocates nothing. The result lives as long as this
  /// object.
  const AttributeType* findAttributeType(std::string_view type) const {
    return find(type).attribute;
  }

  /// What a name stands for.
  struct Found {
    const AttributeType* attribute;  ///< as of findAttributeType()
    bool isCanonical;                ///< whether the name is that type's canonicalType, in any case
  };
  Found find(std::string_view type) const {
    return type.size() <= ShortNames::maximalSize ? shortNames_.find(type) : findLong(type);
  }

  /// The dotted number of the definition of that name, of whatever kind, in any case; empty where
  /// the schema has none. Lives as long as this object.
  std::string_view findObjectIdentifier(std::string_view name) const;

 private:
  /// The names of up to seven bytes: nearly all that RDNs begin with, and each RDN that is
  /// normalised by a schema asks for one. A name is a single number here. With that, -I adds 270
  /// instructions to the work for an entry of bench/generate_ldif's ordinary export, in place of
  /// 680 by the map below.
  class ShortNames {
   public:
    static constexpr std::size_t maximalSize = 7;

    explicit ShortNames(std::size_t names);
    void add(std::string_view name, Found found);

    Found find(std::string_view name) const {
      const std::uint64_t number = numberOf(name);
      std::size_t slot = firstSlot(number);
      while (slots_[slot].number != number && slots_[slot].number != 0) {
        slot = (slot + 1) % slots_.size();
      }
      return slots_[slot].found;
    }

   private:
    struct Slot {
      std::uint64_t number;  ///< the size and the capitals; 0: the slot is free
      Found found;
    };

    static std::uint64_t numberOf(std::string_view name) {
      std::uint64_t number = name.size();
      for (const char c : name) {
        number = number << 8U | static_cast<unsigned char>(text::toAsciiUpper(c));
      }
      return number;
    }

    std::size_t firstSlot(std::uint64_t number) const {
      return static_cast<std::size_t>(number * 0x9e3779b97f4a7c15U >> 40U) & (slots_.size() - 1);
    }

    std::vector<Slot> slots_;  ///< a power of two of them, at most half full
  };

  Found findLong(std::string_view type) const;
  void addKey(std::string_view key, const AttributeType& type);
  std::size_t countNames() const;

  const std::vector<AttributeType> attributeTypes_;
  const NameMap<std::string, std::string> otherNames_;
  ShortNames shortNames_;  ///< these two point into attributeTypes_
  NameMap<std::string_view, const AttributeType*> byName_;
};

/// The schema that the last ldcf_api_schema_complete() published, or a null pointer. May be called
/// from any thread; the result stays valid to the end of the process.
const Schema* loadedSchema();

}  // namespace schema

#endif
