// What went where, for people.
#ifndef DRIVER_SHARETABLE_H
#define DRIVER_SHARETABLE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A table of files: how many entries and bytes each got, and its share of all bytes, with a bar.
class ShareTable {
 public:
  /// The row stands behind those that were added before.
  void add(const std::string& file, std::uint64_t entries, std::uint64_t bytes);

  /// The lines, each with its line end: a header, and a row for each file. Control bytes in names
  /// are escaped. Bars are '#'.
  std::string text() const;

 private:
  struct Row {
    std::string file;
    std::uint64_t entries;
    std::uint64_t bytes;
  };

  std::vector<Row> rows_;
};

#endif
