// DNs in normal form, with what is known of them, for those who ask more than one question about
// the same name. C++14 can read this header.
#ifndef PLATFORM_DIRCLIENT_NORMALDN_H
#define PLATFORM_DIRCLIENT_NORMALDN_H

#include <cstddef>
#include <string>
#include <vector>

namespace schema {
class Schema;
}

namespace dirclient {

struct NormalAva;

/// The normal form of a DN, and where its RDNs begin. Only the normaliser makes one, so that nobody
/// who is handed one has to look whether it is a normal form. It may be used again and again: its
/// memory stays with it.
class NormalDn {
 public:
  /// Takes the DN of `size` bytes at `dn`, in any spelling: by the loaded schema where `bySchema`
  /// is set, as dn_normalize_esc() does, else without one, as dn_normalize_light_esc() does. A NUL
  /// is a byte like any other. Empty afterwards where it is no usable DN.
  void normalize(const char* dn, std::size_t size, bool bySchema);

  bool empty() const { return text_.empty(); }
  const std::string& text() const { return text_; }

  /// How many RDNs there are; 0 where this is empty.
  std::size_t rdnCount() const { return rdnBegins_.size(); }

  /// The offset in the text of the RDN of that index, the leftmost being 0. The text from there to
  /// its end is the normal form of the ancestor so many levels up.
  std::size_t rdnBegin(std::size_t index) const { return rdnBegins_[index]; }

  /// The highest index of an RDN with several values, or 0: the leftmost RDN is not told from none.
  std::size_t lastRdnOfSeveralValues() const { return lastRdnOfSeveralValues_; }

  /// Whether it is sure to be the light normal form of the DN too. That it is by a schema does not
  /// have to make a difference.
  bool isLight() const { return isLight_; }

 private:
  bool normalizeOrdinary(const char* dn, std::size_t size, const schema::Schema* schema);
  void forgetRdns();
  void take(const NormalAva& ava);

  std::string text_;
  std::vector<std::size_t> rdnBegins_;
  std::size_t nextRdnBegin_ = 0;  // while the assertions of a DN are taken
  std::size_t lastRdnOfSeveralValues_ = 0;
  bool isLight_ = true;
};

/// What get_hash_value_from_dn() says of the two texts, without reading again what their
/// normalisation has read already.
int serverOf(const NormalDn& dn, const NormalDn& baseDn, int serverCount);

/// get_hash_value_from_dn() itself; where memory runs out it throws std::bad_alloc.
int serverOf(const std::string& dn, const std::string& baseDn, int serverCount);

}  // namespace dirclient

#endif
