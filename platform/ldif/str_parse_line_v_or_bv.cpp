#include "platform/ldif/str_parse_line_v_or_bv.h"

#include <climits>
#include <cstring>
#include <string>

#include "platform/ldif/attributeDescription.h"
#include "platform/text/ascii.h"
#include "platform/text/base64.h"
#include "platform/text/escape.h"

namespace {

char* skipBlanks(char* at) {
  while (*at == ' ') {
    ++at;
  }
  return at;
}

/// Where the bytes before a line feed end: a carriage return right before it belongs to it.
char* contentEnd(char* begin, char* lineFeed) {
  return lineFeed != begin && lineFeed[-1] == '\r' ? lineFeed - 1 : lineFeed;
}

/// Takes the folds and the line end out of the line and ends it with a NUL; returns where, or a
/// null pointer for a line feed that is neither a fold nor the end.
char* unfold(char* line) {
  char* const end = line + std::strlen(line);
  char* out = line;
  char* in = line;
  for (;;) {
    char* lineFeed = static_cast<char*>(std::memchr(in, '\n', static_cast<std::size_t>(end - in)));
    char* const segmentEnd = lineFeed != nullptr ? contentEnd(in, lineFeed) : end;
    const auto segment = static_cast<std::size_t>(segmentEnd - in);
    if (out != in) {
      std::memmove(out, in, segment);
    }
    out += segment;
    if (lineFeed == nullptr || lineFeed + 1 == end) {
      *out = '\0';
      return out;
    }
    if (lineFeed[1] != ' ') {
      return nullptr;
    }
    in = lineFeed + 2;
  }
}

/// The DN text of `length` bytes at `dn`, made safe for one line: see the header. Leading blanks
/// are gone already.
std::string dnOnOneLine(const char* dn, std::size_t length) {
  std::string safe;
  safe.reserve(length + 16);
  for (std::size_t i = 0; i < length; ++i) {
    const bool escape = dn[i] == '\\' && i + 1 < length;
    const char c = escape ? dn[i + 1] : dn[i];
    const bool lastEscapedBlank = escape && c == ' ' && i + 2 == length;
    if (text::isAsciiControl(c) || lastEscapedBlank) {
      text::appendHexEscape(c, safe);
    } else {
      safe.append(dn + i, escape ? 2 : 1);
    }
    i += escape ? 1 : 0;
  }
  return safe;
}

/// The length of the DN without the blanks behind a last blank that a `\` escapes: that blank is
/// part of the DN, and they are not.
std::size_t withoutBlanksBehindEscaped(const char* dn, std::size_t length) {
  std::size_t end = length;
  while (end > 0 && dn[end - 1] == ' ') {
    --end;
  }
  std::size_t backslashes = 0;
  while (backslashes < end && dn[end - 1 - backslashes] == '\\') {
    ++backslashes;
  }
  return backslashes % 2 == 1 && end < length ? end + 1 : length;
}

bool needsRewriting(const char* dn, std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) {
    if (text::isAsciiControl(dn[i])) {
      return true;
    }
  }
  return length >= 2 && dn[length - 1] == ' ' && dn[length - 2] == '\\';
}

/// Makes a decoded DN safe for one line. `value` and `length` change; `room` is how many bytes the
/// line has from `value` on.
void makeDnSafe(char*& value, std::size_t& length, std::size_t room) {
  while (length > 0 && *value == ' ') {
    ++value;
    --length;
    --room;
  }
  length = withoutBlanksBehindEscaped(value, length);
  value[length] = '\0';
  if (!needsRewriting(value, length)) {
    return;
  }
  // Escaping makes the text longer, at worst longer than the line that it came from.
  thread_local std::string grown;
  std::string safe = dnOnOneLine(value, length);
  length = safe.size();
  if (length < room) {
    std::memcpy(value, safe.c_str(), length + 1);
  } else {
    grown = std::move(safe);
    value = grown.data();
  }
}

int clampToInt(std::size_t length) {
  return length > static_cast<std::size_t>(INT_MAX) ? INT_MAX : static_cast<int>(length);
}

}  // namespace

int str_parse_line_v_or_bv(char* line, char** type, char** value, int* valueLength, int /*flag*/,
                           char** url, int* encoding) {
  *type = nullptr;
  *value = nullptr;
  *url = nullptr;
  *valueLength = 0;
  *encoding = ldifValuePlain;
  if (*line == '#') {
    return ldifLineSkipped;
  }
  char* const end = unfold(line);
  if (end == nullptr) {
    return ldifLineInvalid;
  }
  if (end == line) {
    return ldifLineSkipped;
  }
  char* const typeEnd = ldif::skipAttributeDescription(line);
  if (typeEnd == nullptr) {
    return ldifLineInvalid;
  }
  char* at = skipBlanks(typeEnd);
  if (*at != ':') {
    return ldifLineInvalid;
  }
  ++at;
  const bool base64 = *at == ':';
  const bool isUrl = *at == '<';
  at = skipBlanks(base64 || isUrl ? at + 1 : at);
  *typeEnd = '\0';

  auto length = static_cast<std::size_t>(end - at);
  if (isUrl) {
    *encoding = ldifValueUrl;
    *url = at;
    at = end;
    length = 0;
  } else if (base64) {
    const auto decoded = text::decodeBase64InPlace(at, length);
    if (!decoded) {
      return ldifLineInvalid;
    }
    *encoding = ldifValueBase64;
    const std::size_t room = length + 1;
    length = *decoded;
    at[length] = '\0';
    if (std::strcmp(line, "dn") == 0) {
      makeDnSafe(at, length, room);
    }
  }
  *type = line;
  *value = at;
  *valueLength = clampToInt(length);
  return ldifLineParsed;
}
