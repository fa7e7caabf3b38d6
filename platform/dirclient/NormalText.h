// Normal forms as bare texts, and how one stands to another.
#ifndef PLATFORM_DIRCLIENT_NORMALTEXT_H
#define PLATFORM_DIRCLIENT_NORMALTEXT_H

#include <cstddef>
#include <optional>
#include <string_view>

#include "platform/dirclient/DnNormalizer.h"

namespace schema {
class Schema;
}

namespace dirclient {

/// The normal form of a text; the text itself where that is one already, at the cost of one pass
/// and without heap memory.
class NormalText {
 public:
  /// `text` has to outlive this object; `schema` is a null pointer for light normalisation.
  explicit NormalText(std::string_view text, const schema::Schema* schema = nullptr);
  NormalText(const NormalText&) = delete;
  NormalText& operator=(const NormalText&) = delete;

  /// Empty where the text is no usable DN.
  std::string_view text() const { return text_; }

 private:
  std::string_view text_;
  std::optional<DnNormalizer> normalizer_;
};

/// Whether the comma at `at` of a normal form separates two RDNs: an odd number of `\` before it
/// makes it a part of a value.
bool separatesRdns(std::string_view normalForm, std::size_t at);

/// Whether the normal form `dn` is a name below `baseDn`. That need not be a normal form: where it
/// is none, the answer is no. Nothing is below the empty DN.
bool isBelow(std::string_view dn, std::string_view baseDn);

/// An argument of the C interface, where NULL stands for the empty text.
inline std::string_view orEmpty(const char* text) {
  return text != nullptr ? std::string_view(text) : std::string_view();
}

}  // namespace dirclient

#endif
