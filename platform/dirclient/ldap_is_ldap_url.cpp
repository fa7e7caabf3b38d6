// LDAP URLs, RFC 4516 section 2:
//
//   scheme "://" [host [":" port]] ["/" dn ["?" [attributes] ["?" [scope] ["?" [filter]
//   ["?" extensions]]]]]

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/dirclient/DnNormalizer.h"
#include "platform/dirclient/dirclient.h"
#include "platform/text/ascii.h"
#include "platform/text/equalIgnoringCase.h"
#include "platform/text/hexadecimal.h"
#include "platform/text/number.h"

namespace {

using text::equalIgnoringCase;
using text::isHexDigit;

constexpr int maximalPort = 65535;

bool isOneOf(char c, std::string_view set) {
  return set.find(c) != std::string_view::npos;
}

/// RFC 3986, section 2.3.
bool isUnreserved(char c) {
  return text::isAsciiLetter(c) || text::isAsciiDigit(c) || isOneOf(c, "-._~");
}

/// Whether `text` is made of unreserved characters, those in `more`, and percent-encoded bytes
/// (RFC 3986, section 2.1).
bool isEncoded(std::string_view text, std::string_view more) {
  for (std::string_view::size_type i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      if (i + 2 >= text.size() || !isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2])) {
        return false;
      }
      i += 2;
    } else if (!isUnreserved(text[i]) && !isOneOf(text[i], more)) {
      return false;
    }
  }
  return true;
}

std::string decoded(std::string_view text) {
  std::string bytes;
  for (std::string_view::size_type i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      bytes += text::byteOfHexPair(text[i + 1], text[i + 2]);
      i += 2;
    } else {
      bytes += text[i];
    }
  }
  return bytes;
}

constexpr std::string_view subDelimiters = "!$&'()*+,;=";
constexpr std::string_view pathCharacters = "!$&'()*+,;=:@/[]?";

/// Takes the part of `rest` before the first `delimiter` (all of it where there is none); false
/// where there was none.
bool take(std::string_view& rest, char delimiter, std::string_view& part) {
  const auto at = rest.find(delimiter);
  part = rest.substr(0, at);
  rest.remove_prefix(at == std::string_view::npos ? rest.size() : at + 1);
  return at != std::string_view::npos;
}

bool isScheme(std::string_view scheme) {
  return equalIgnoringCase(scheme, "ldap") || equalIgnoringCase(scheme, "ldaps") ||
         equalIgnoringCase(scheme, "ldapi");
}

bool isPort(std::string_view port) {
  return text::decimal(port.data(), port.size(), maximalPort) >= 1;
}

/// Four numbers of one to three digits, up to 255 each.
bool isIpv4(std::string_view text) {
  int numbers = 0;
  for (bool more = true; more; ++numbers) {
    std::string_view number;
    more = take(text, '.', number);
    if (number.size() > 3 || text::decimal(number.data(), number.size(), 255) < 0) {
      return false;
    }
  }
  return numbers == 4;
}

bool isHexGroup(std::string_view group) {
  return !group.empty() && group.size() <= 4 && std::all_of(group.begin(), group.end(), isHexDigit);
}

/// Counts the 16-bit groups of a colon-separated list, an IPv4 address at its end for two; -1 where
/// it is no such list. An empty list has none.
int countIpv6Groups(std::string_view list, bool mayEndInIpv4) {
  int groups = 0;
  for (bool more = !list.empty(); more;) {
    std::string_view group;
    more = take(list, ':', group);
    if (isHexGroup(group)) {
      groups += 1;
    } else if (!more && mayEndInIpv4 && isIpv4(group)) {
      groups += 2;
    } else {
      return -1;
    }
  }
  return groups;
}

/// RFC 4291, section 2.2: eight groups, or fewer around one "::".
bool isIpv6(std::string_view text) {
  const auto gap = text.find("::");
  if (gap == std::string_view::npos) {
    return countIpv6Groups(text, true) == 8;
  }
  const int before = countIpv6Groups(text.substr(0, gap), false);
  const int after = countIpv6Groups(text.substr(gap + 2), true);
  return before >= 0 && after >= 0 && before + after < 8;
}

/// A name, an IPv4 address, or an IPv6 address in brackets; for ldapi the percent-encoded path of a
/// socket, which is a name too. Then an optional port.
bool isHostAndPort(std::string_view text) {
  if (text.empty()) {
    return true;
  }
  std::string_view afterHost;
  if (text.front() == '[') {
    const auto bracket = text.find(']');
    if (bracket == std::string_view::npos || !isIpv6(text.substr(1, bracket - 1))) {
      return false;
    }
    afterHost = text.substr(bracket + 1);
  } else {
    const auto colon = text.find(':');
    if (!isEncoded(text.substr(0, colon), subDelimiters)) {
      return false;
    }
    afterHost = colon == std::string_view::npos ? std::string_view() : text.substr(colon);
  }
  return afterHost.empty() || (afterHost.front() == ':' && isPort(afterHost.substr(1)));
}

bool isDn(std::string_view field) {
  const std::string dn = decoded(field);
  return dn.empty() || dirclient::DnNormalizer().normalize(dn);
}

/// A comma-separated list without empty elements; an empty field is an empty list.
template <typename Test>
bool isList(std::string_view field, Test isElement) {
  for (bool more = !field.empty(); more;) {
    std::string_view element;
    more = take(field, ',', element);
    if (element.empty() || !isElement(element)) {
      return false;
    }
  }
  return true;
}

bool isScope(std::string_view field) {
  return field.empty() || equalIgnoringCase(field, "base") || equalIgnoringCase(field, "one") ||
         equalIgnoringCase(field, "sub");
}

bool isFilter(std::string_view field) {
  return field.empty() || decoded(field).front() == '(';
}

/// ["!"] type ["=" value]
bool isExtension(std::string_view element) {
  if (element.front() == '!') {
    element.remove_prefix(1);
  }
  return !element.empty() && element.front() != '=';
}

/// What follows the slash behind the host.
bool isDnAndParameters(std::string_view rest) {
  std::string_view dn;
  std::string_view attributes;
  std::string_view scope;
  std::string_view filter;
  take(rest, '?', dn);
  take(rest, '?', attributes);
  take(rest, '?', scope);
  take(rest, '?', filter);
  // No field holds another question mark: inside an extension it is percent-encoded.
  return isEncoded(dn, pathCharacters) && isDn(dn) && isEncoded(attributes, pathCharacters) &&
         isList(attributes, [](std::string_view) { return true; }) && isScope(scope) &&
         isEncoded(filter, pathCharacters) && isFilter(filter) && isEncoded(rest, pathCharacters) &&
         rest.find('?') == std::string_view::npos && isList(rest, isExtension);
}

bool isLdapUrl(std::string_view url) {
  const auto schemeEnd = url.find("://");
  if (schemeEnd == std::string_view::npos || !isScheme(url.substr(0, schemeEnd))) {
    return false;
  }
  url.remove_prefix(schemeEnd + 3);
  const auto slash = url.find_first_of("/?");
  if (!isHostAndPort(url.substr(0, slash))) {
    return false;
  }
  if (slash == std::string_view::npos) {
    return true;
  }
  return url[slash] == '/' && isDnAndParameters(url.substr(slash + 1));
}

}  // namespace

int ldap_is_ldap_url(char* url) {
  return url != nullptr && isLdapUrl(url) ? 1 : 0;
}
