#include "admin/EntryPrint.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/ldif/str_parse_line_v_or_bv.h"

constexpr std::size_t EntryPrinter::longestLine;

bool EntryPrint::hasDn() const {
  return firstLine.compare(0, 3, "dn:") == 0;
}

std::string EntryPrint::dn() const {
  if (!hasDn()) {
    return "";
  }
  std::vector<char> copy(firstLine.begin(), firstLine.end());
  copy.push_back('\0');
  char* type = nullptr;
  char* value = nullptr;
  char* url = nullptr;
  int size = 0;
  int encoding = 0;
  const int result = str_parse_line_v_or_bv(copy.data(), &type, &value, &size, 1, &url, &encoding);
  return result == 0 && value != nullptr ? value : firstLine.substr(3);
}

void EntryPrinter::add(const char* bytes, std::size_t size) {
  whole_.add(bytes, size);
  while (part_ == Part::emptyLines && size > 0) {
    if (*bytes != '\n') {
      part_ = Part::name;
      break;
    }
    ++emptyLines_;
    ++bytes;
    --size;
  }
  if (part_ == Part::name && size > 0) {
    const void* const lineFeed = std::memchr(bytes, '\n', size);
    const std::size_t taken =
        lineFeed != nullptr ? static_cast<std::size_t>(static_cast<const char*>(lineFeed) - bytes)
                            : size;
    name_.add(bytes, taken);
    firstLine_.append(bytes, std::min(taken, longestLine - firstLine_.size()));
    bytes += taken;
    size -= taken;
    if (lineFeed != nullptr) {
      part_ = Part::body;
      ++bytes;
      --size;
    }
  }
  if (part_ == Part::body && size > 0) {
    hasBody_ = true;
    body_.add(bytes, size);
  }
}

EntryPrint EntryPrinter::print() const {
  EntryPrint print;
  print.whole = whole_.print();
  print.name = name_.print();
  print.body = body_.print();
  print.firstLine = firstLine_;
  print.hasBody = hasBody_;
  return print;
}
