#include "fuzz/entriesOf.h"

#include <algorithm>
#include <cstddef>

#include "actors/normalizeDn.h"

namespace {

/// The lines with their folds and line ends.
std::vector<std::string> logicalLines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t lineFeed = text.find('\n', at);
    const std::size_t end = lineFeed == std::string::npos ? text.size() : lineFeed + 1;
    if (text[at] == ' ' && !lines.empty()) {
      lines.back().append(text, at, end - at);
    } else {
      lines.push_back(text.substr(at, end - at));
    }
    at = end;
  }
  return lines;
}

void removeEach(std::string& text, const std::string& part) {
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at)) {
    text.erase(at, part.size());
  }
}

std::string unfolded(std::string line) {
  removeEach(line, "\r\n ");
  removeEach(line, "\n ");
  if (!line.empty() && line.back() == '\n') {
    line.pop_back();
  }
  // Of several carriage returns the split takes one for a part of the line end. That it then writes
  // the others makes one of them a part of the line end for the next reader.
  line.erase(line.find_last_not_of('\r') + 1);
  return line;
}

/// What valid base64 says.
std::string decoded(const std::string& base64) {
  const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  unsigned int pending = 0;
  int bits = 0;
  for (const char c : base64) {
    const std::size_t digit = digits.find(c);
    if (digit == std::string::npos) {
      break;
    }
    pending = (pending << 6 | static_cast<unsigned int>(digit)) & 0xFFFU;
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      bytes += static_cast<char>(pending >> bits & 0xFFU);
    }
  }
  return bytes;
}

/// The DN with its NULs as escapes, as a C text needs it.
std::string withoutNul(const std::string& dn) {
  std::string text;
  for (std::size_t i = 0; i < dn.size(); ++i) {
    const bool escapes = dn[i] == '\\' && i + 1 < dn.size();
    const char c = escapes ? dn[i + 1] : dn[i];
    text += c == '\0' ? "\\00" : dn.substr(i, escapes ? 2 : 1);
    i += escapes ? 1 : 0;
  }
  return text;
}

/// Whether the unfolded line is of type "dn".
bool isDnLine(const std::string& line) {
  const std::size_t behind = line.compare(0, 2, "dn") == 0 ? line.find_first_not_of(' ', 2) : 0;
  return behind != 0 && behind != std::string::npos && line[behind] == ':';
}

std::string normalDnOf(const std::string& line) {
  std::string value = line.substr(line.find(':') + 1);
  const bool isBase64 = !value.empty() && value.front() == ':';
  value.erase(0, value.find_first_not_of(' ', isBase64 ? 1 : 0));
  if (isBase64) {
    value = withoutNul(decoded(value));
  }
  return nLdifActor::normalizeDn(value);
}

}  // namespace

std::vector<PlainEntry> entriesOf(const std::string& text) {
  std::vector<PlainEntry> entries;
  int number = 0;
  for (const std::string& line : logicalLines(text)) {
    number += static_cast<int>(std::count(line.begin(), line.end(), '\n'));
    number += line.back() != '\n' ? 1 : 0;  // the last of the text
    if (line[0] == '#' || line[0] == '\n' || line[0] == '\r') {
      continue;
    }
    const std::string whole = unfolded(line);
    if (isDnLine(whole)) {
      entries.push_back({normalDnOf(whole), "", number});
    } else if (!entries.empty()) {
      entries.back().lines += line;
    }
  }
  return entries;
}
