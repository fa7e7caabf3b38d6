#include "admin/InputRemarks.h"

#include <algorithm>
#include <cstdio>

#include "admin/Finding.h"
#include "platform/text/number.h"

namespace {

struct KindOfRemark {
  const char* key;
  bool isError;
  int message;  // of the split that says the same, or 0
  const char* what;
  const char* cure;
};

/// By InputRemarks::Kind.
constexpr KindOfRemark kinds[] = {
    {"unusable_dn", true, 0, "an entry without a usable DN", ""},
    {"not_ldif", true, 0, "no line of LDIF",
     "where it is the rest of a line of more than 4095 bytes, fold the input with varnelctl fold"},
    {"empty_input", true, 0, "the input is empty", ""},
    {"unwritable_line", true, 0, "a line without an attribute type", ""},
    {"in_pieces", false, 60,
     "a line of more than 4095 bytes is read in pieces, and this piece changes the output",
     "fold the input with varnelctl fold"},
    {"dn_in_other_case", false, 66, "\"dn\" in other letters starts no entry",
     "write it in small letters"},
    {"change_record", false, 70, "a change record is taken for an entry",
     "split an export of entries"},
    {"before_the_first_dn", false, 67, "lines before the first dn line are left out", ""},
    {"no_line_end", false, 69, "the last line has no line end",
     "see whether the input was cut short"},
};
static_assert(sizeof kinds / sizeof *kinds == InputRemarks::kindCount, "a row for each kind");

/// The beginning of a text that may be of any length.
std::string shortened(const std::string& text) {
  constexpr std::size_t most = 200;
  return text.size() <= most ? text : text.substr(0, most) + "...";
}

}  // namespace

// In C++14 a constant that is taken by reference needs a definition of its own.
constexpr std::size_t InputRemarks::mostLinesKept;

void InputRemarks::add(Kind kind, int line, const std::string& dn) {
  Lines& lines = lines_[kind];
  ++lines.count;
  if (lines.kept.size() < mostLinesKept) {
    lines.kept.push_back(line);
  }
  const KindOfRemark& remark = kinds[kind];
  const Finding finding{remark.isError, inputFile_, line, remark.what, shortened(dn), remark.cure};
  std::fprintf(stderr, "%s\n", lineOf(finding).c_str());
}

void InputRemarks::add(const ldifsplit::UnusableLine& line) {
  std::string dn;
  if (line.isDn) {
    dn.assign(line.text, line.size);
    dn.erase(dn.find_last_not_of("\r\n") + 1);
  }
  add(line.isDn ? unusableDn : notLdif, line.number, dn);
}

bool InputRemarks::add(const Message& message) {
  for (std::size_t kind = 0; kind < kindCount; ++kind) {
    if (kinds[kind].message != 0 && kinds[kind].message == message.number) {
      add(static_cast<Kind>(kind), text::leadingInt(message.arguments.front()), "");
      return true;
    }
  }
  return false;
}

const char* InputRemarks::keyOf(Kind kind) {
  return kinds[kind].key;
}

bool InputRemarks::endsSplit() const {
  bool ends = false;
  for (std::size_t kind = 0; kind < kindCount; ++kind) {
    ends = ends || (kinds[kind].isError && lines_[kind].count > 0);
  }
  return ends;
}
