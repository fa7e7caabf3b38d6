// What went where, for people.
#ifndef DRIVER_SHARETABLE_H
#define DRIVER_SHARETABLE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A table of files: how many entries and bytes each got. In a group of several files it tells the
/// share that each has of the group's bytes, with a bar: the longest is that of the largest file,
/// so that an uneven split shows, however many files there are. Its texts are messages 77 and 78
/// without their identifiers.
class ShareTable {
 public:
  /// The rows that follow are a group with this line above. Without a call all rows are one, and
  /// have none.
  void beginGroup(const std::string& heading);

  /// The row stands behind those that were added before.
  void add(const std::string& file, std::uint64_t entries, std::uint64_t bytes);

  /// The lines, each with its line end: a header, headings and rows. Control bytes in names are
  /// escaped; bars are '#'. Where `width` columns are too few, bars become shorter or go, and
  /// names lose their beginning, headings their end. A line that is still wider stays so. A
  /// character, told by UTF-8, counts as one column.
  std::string text(std::size_t width) const;

 private:
  struct Row {
    std::string file;
    std::uint64_t entries;
    std::uint64_t bytes;
  };

  struct Group {
    std::string heading;
    std::vector<Row> rows;
  };

  std::vector<Group> groups_;
};

#endif
