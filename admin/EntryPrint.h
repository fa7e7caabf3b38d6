// What is remembered of an entry that stands in a file, or should.
#ifndef ADMIN_ENTRYPRINT_H
#define ADMIN_ENTRYPRINT_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "admin/KeyedHash.h"

/// An entry as a split writes it: an empty line, the "dn" line, the other lines. Texts are equal
/// where their fingerprints are.
struct EntryPrint {
  Fingerprint whole;
  Fingerprint name;       ///< of the first line that is not empty
  Fingerprint body;       ///< of the lines behind it
  std::string firstLine;  ///< cut behind EntryPrinter::longestLine bytes
  bool hasBody = false;
  std::int64_t line = 0;  ///< of its first line that is not empty: in the input, or in the file

  /// Whether it begins with a "dn" line.
  bool hasDn() const;
  /// The DN in it, decoded; empty where there is none.
  std::string dn() const;
};

/// Makes the print of an entry that comes in pieces.
class EntryPrinter {
 public:
  static constexpr std::size_t longestLine = 1024;

  explicit EntryPrinter(const KeyedHash::Key& key) : whole_(key), name_(key), body_(key) {}

  void add(const char* bytes, std::size_t size);

  /// Of all that was added.
  EntryPrint print() const;

  /// How many line feeds there are before the first line that is not empty.
  std::size_t emptyLines() const { return emptyLines_; }

 private:
  enum class Part { emptyLines, name, body };

  KeyedHash whole_;
  KeyedHash name_;
  KeyedHash body_;
  Part part_ = Part::emptyLines;
  std::size_t emptyLines_ = 0;
  std::string firstLine_;
  bool hasBody_ = false;
};

#endif
