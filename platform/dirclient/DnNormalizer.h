// The normal form of distinguished names: the one text that every spelling of a DN maps to.
//
//   RDN,RDN,...         no blanks around
//   RDN = TYPE=VALUE    several joined by '+', sorted by bytes
//   TYPE                upper case, without "oid."
//   VALUE               as the matching rule compares it; `\` before " + , ; < > \ and a leading #,
//                       significant blanks at either end as \20, control bytes and DEL as \ and two
//                       upper-case hexadecimal digits; or a BER value, # and such digits
//
// The normal form of a normal form is itself.
#ifndef PLATFORM_DIRCLIENT_DNNORMALIZER_H
#define PLATFORM_DIRCLIENT_DNNORMALIZER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dirclient/NormalAva.h"

namespace schema {
class Schema;
}

namespace dirclient {

/// Normalises one DN. The working memory stands in the object, on the stack where the object does:
/// a DN of ordinary length needs no heap.
class DnNormalizer {
 public:
  /// `schema` is a null pointer for light normalisation. `nesting` counts the DNs around this one.
  explicit DnNormalizer(const schema::Schema* schema = nullptr, int nesting = 0);

  DnNormalizer(const DnNormalizer&) = delete;
  DnNormalizer& operator=(const DnNormalizer&) = delete;

  /// False where `dn` is no usable DN: no DN at all, empty, or of too many RDNs; the results below
  /// are empty then. The results may point into `dn`. Called once an object.
  bool normalize(std::string_view dn);

  /// The normal form.
  std::string_view text() const { return text_; }

  /// The same assertions in the order in which they were written, and where they stand in that
  /// text.
  std::string_view written() const { return written_; }
  const std::pmr::vector<NormalAva>& avas() const { return avas_; }

  std::int32_t rdnCount() const { return rdnCount_; }

 private:
  bool scan(std::string_view dn);
  void write(std::string_view dn);
  bool parse(std::string_view dn);
  void sortAvas();
  bool fail();

  const schema::Schema* schema_;
  int nesting_;
  std::array<std::byte, 2048> stack_;
  std::pmr::monotonic_buffer_resource memory_;
  std::pmr::vector<NormalAva> avas_;
  std::pmr::string writtenBuffer_;
  std::pmr::string sortedBuffer_;
  std::string_view written_;
  std::string_view text_;
  std::int32_t rdnCount_ = 0;
};

}  // namespace dirclient

#endif
