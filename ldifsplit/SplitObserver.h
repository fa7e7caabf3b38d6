// For those who want more of a split than its files.
#ifndef LDIFSPLIT_SPLITOBSERVER_H
#define LDIFSPLIT_SPLITOBSERVER_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "actors/LdifActor.h"
#include "common/AutoClose.h"
#include "ldifsplit/BaseDnIndex.h"
#include "platform/dirclient/NormalDn.h"

namespace ldifsplit {

/// A record of the input that is about to be written to its files.
struct SplitRecord {
  int line;        ///< number of the last physical line of its "dn" line
  const char* dn;  ///< as its files have it behind "dn: ", not NUL-terminated
  std::size_t dnSize;
  const dirclient::NormalDn& normalDn;
  std::size_t baseDn;  ///< index of its base DN among the keys of the actors, or BaseDnIndex::none
  const FileNames& files;  ///< where it is written to
};

/// A line of the input that would end a split.
struct UnusableLine {
  int number;        ///< of its last physical line
  bool isDn;         ///< a "dn" line, whose value is no usable DN; else it cannot be parsed
  const char* text;  ///< the logical line with its folds, or the value where it is a "dn" line
  std::size_t size;
};

/// What a file got through one base DN. A file that several of them name has one of these for each,
/// and one for each of their servers that name it.
struct FileCounts {
  const std::string* file;
  std::size_t baseDn;  ///< as in SplitRecord
  std::uint64_t records;
  std::uint64_t bytes;  ///< with the empty line before each record
};

/// Sees a split as it goes, and says where it reads from and writes to. Each function does by
/// default what a split without an observer does. What the arguments refer to is gone when the
/// function returns, but for the names of files.
class SplitObserver {
 public:
  SplitObserver() = default;
  virtual ~SplitObserver() = default;
  SplitObserver(const SplitObserver&) = delete;
  SplitObserver& operator=(const SplitObserver&) = delete;

  /// Opens the input; a null pointer, with errno set, where that fails. The split reads from its
  /// descriptor.
  virtual AutoClose openInput(const std::string& name);

  /// Opens an output file at its first record and gives it the header of an LDIF file, as
  /// openNewLdif<LdifSplitException> does. The split closes it.
  virtual std::FILE* openOutput(const std::string& name, char* buffer, std::size_t size);

  /// Whether startsRecord() and wrote() are to be called, which takes time for each record. Asked
  /// once, before anything is opened.
  virtual bool wantsRecords() const { return true; }

  /// A block of the input was read. So many bytes were read up to now, and so many records began in
  /// the blocks before.
  virtual void hasRead(std::uint64_t /*bytes*/, std::uint64_t /*records*/) {}

  /// The split ended well. The files that were opened, in no order.
  virtual void ended(const std::vector<FileCounts>& /*files*/) {}

  /// A record begins. The bytes that follow are its.
  virtual void startsRecord(const SplitRecord& /*record*/) {}

  /// So many bytes were written to each file of the record that began last, in the order of the
  /// input: together the empty line before a record, its "dn" line, and its other lines.
  virtual void wrote(const char* /*bytes*/, std::size_t /*size*/) {}

  /// A physical line is read in pieces: more than 4095 bytes, its line end counted. Called at its
  /// second piece, once a line. `line` is the number of the first; each piece counts as a line.
  virtual void readsInPieces(int /*line*/) {}

  /// Whether the split goes on behind a line that would end it. Of a record without a usable DN no
  /// line is written then; a line that cannot be parsed is left out.
  virtual bool goesOnBehind(const UnusableLine& /*line*/) { return false; }
};

}  // namespace ldifsplit

#endif
