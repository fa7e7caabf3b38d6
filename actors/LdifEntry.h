// One entry of an LDIF file: its DN and its attribute lines.
#ifndef ACTORS_LDIFENTRY_H
#define ACTORS_LDIFENTRY_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/dirclient/NormalDn.h"

/// What getEntry() hands out; nothing fills it yet.
struct RawEntry {
  std::int32_t word = 0;
};

/// A DN in normal form, and what the tests for parents and ancestors make of it.
class LdifEntry {
 public:
  using Attribute = std::pair<std::string, std::string>;  // type, value

  LdifEntry() = default;
  virtual ~LdifEntry() = default;
  LdifEntry(const LdifEntry&) = delete;
  LdifEntry& operator=(const LdifEntry&) = delete;

  /// Names the entry; the DN is stored in normal form, empty where it is no usable DN. It ends at
  /// its first NUL.
  void setName(const std::string& name);

  /// Takes the DN and the attributes away.
  void clear();

  const std::string& getName() const { return dn.text(); }
  const std::vector<Attribute>& getAttributes() const { return attributes; }
  void addAttribute(const std::string& type, const std::string& value);

  /// Whether `parentDn`, in any spelling, is the DN right above this entry; false for a null
  /// pointer.
  bool hasParent(const char* parentDn) const;
  bool hasParent(LdifEntry& other) const;

  /// Whether `ancestorDn`, in any spelling, is a DN above this entry. It must not be a null
  /// pointer.
  bool hasAncestor(const char* ancestorDn) const;
  bool hasAncestor(LdifEntry& other) const;

  /// The raw record, its first word set to 0; still owned here.
  RawEntry* getEntry();

 private:
  dirclient::NormalDn dn;
  RawEntry rawEntry;
  std::vector<Attribute> attributes;  // the lines other than "dn", in input order
};

#endif
