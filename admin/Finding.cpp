#include "admin/Finding.h"

#include <algorithm>
#include <tuple>

#include "config/configKeys.h"
#include "platform/text/number.h"
#include "platform/text/onOneLine.h"

namespace {

/// Where in its arguments a message has what a remark is made of; -1: nowhere.
struct Row {
  int number;
  int value;
  int line;
  int file;  // the input; -1: it is about the configuration
  const char* what;
  const char* cure;
};

// Of the tool's set.
constexpr Row rows[] = {
    {2, -1, -1, -1, "the file cannot be read",
     "name the right file and check that you may read it"},
    {4, -1, 0, -1, "the key is not allowed here", ""},
    {6, 0, -1, -1, "not a value that the key can have", "name another file"},
    {7, 0, -1, -1, "the file cannot be opened or created",
     "check the name, the directory and your permissions"},
    {13, 0, -1, -1, "not a directory", "name an existing one"},
    {17, 1, 2, -1, "the base DN has a section already",
     "give each base DN one section with all of its servers"},
    {19, 0, 2, -1, "the key is not allowed with this splitby", "remove the line"},
    {48, 0, 1, -1, "the key is configured a second time", "keep one of the lines"},
    {49, 0, -1, -1, "a key is missing", "write it before the first basedn"},
    {51, 0, -1, -1, "a line is missing in the section", "each server needs one url and one file"},
    {60, -1, 0, 1,
     "a physical line of more than 4095 bytes is read in pieces, and this piece "
     "changes the output",
     "fold the input (varnelctl fold)"},
    {61, 0, -1, -1, "more files may be open at a time than the limit allows",
     "raise the limit of open files (ulimit -n)"},
    {63, 0, -1, -1, "the input has no entry of the base DN and none below it", "check the base DN"},
    {64, 0, -1, -1, "the input has entries below the base DN, but not its own entry",
     "add it to each of its servers' files"},
    {65, 0, 1, -1, "the first RDN of the base DN has several values",
     "no entry below it is recognised: name a base DN with one value in its RDN"},
    {66, -1, 0, 1, "the type is dn in other letters, so that the line starts no entry",
     "write it in small letters to start one"},
    {67, -1, 0, 1, "an attribute line before the first dn line belongs to no entry",
     "it is left out"},
    {69, -1, 0, 1, "the last line has no line end", "check that the last entry is whole"},
    {70, -1, 0, 1, "a change record is taken for an entry",
     "split an export of entries, and apply changes to the servers"},
    {71, 1, -1, -1, "two servers of a base DN have the same URL",
     "mend the line if it was copied and not changed"},
    {72, 1, 2, -1, "quotation marks and comments behind a value have no meaning and are part of it",
     "write the bare value, and a comment on a line of its own"},
};

constexpr int toolSet = 32;

const Row* rowOf(const Message& message) {
  for (const Row& row : rows) {
    if (message.set == toolSet && row.number == message.number) {
      return &row;
    }
  }
  return nullptr;
}

std::string argument(const Message& message, int place) {
  const auto index = static_cast<std::size_t>(place);
  return place >= 0 && index < message.arguments.size() ? message.arguments[index] : "";
}

std::string cureOfIllegalValue(const std::string& key, const std::string& value) {
  if (value.empty()) {
    return "write a value for " + key;
  }
  if (key == actionKey) {
    return "write splitonly";
  }
  if (key == splitKey) {
    return "write rdnhash";
  }
  if (key == URLKey) {
    return "write an LDAP URL such as ldap://server.example.org:389";
  }
  if (key == baseDNKey || key == dnKey || key == subtreeDNKey) {
    return "write a DN such as ou=people,dc=example,dc=org";
  }
  return "";
}

}  // namespace

bool operator==(const Finding& a, const Finding& b) {
  return std::tie(a.isError, a.file, a.line, a.what, a.value, a.cure) ==
         std::tie(b.isError, b.file, b.line, b.what, b.value, b.cure);
}

void sortByLine(std::vector<Finding>& findings) {
  std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
    return a.line != 0 && (b.line == 0 || a.line < b.line);
  });
}

std::string lineOf(const Finding& finding) {
  std::string line = text::onOneLine(finding.file) + ":";
  if (finding.line > 0) {
    line += std::to_string(finding.line) + ":";
  }
  line += finding.isError ? " error: " : " warning: ";
  line += text::onOneLine(finding.what);
  for (const std::string* part : {&finding.value, &finding.cure}) {
    if (!part->empty()) {
      line += ", " + text::onOneLine(*part);
    }
  }
  return line;
}

Finding findingOf(const Message& message, const std::string& configFile, int line) {
  Finding finding{message.severity == 'E', configFile, line, message.text, "", ""};
  const Row* const row = rowOf(message);
  if (row == nullptr) {
    return finding;
  }
  finding.what = row->what;
  finding.value = argument(message, row->value);
  finding.cure = row->cure;
  if (row->file >= 0) {
    finding.file = argument(message, row->file);
  }
  if (row->line >= 0) {
    finding.line = text::leadingInt(argument(message, row->line));
  }
  if (message.number == 6) {
    const std::string key = argument(message, 1);
    const std::string cure = cureOfIllegalValue(key, finding.value);
    finding.what = "not a value that " + key + " can have";
    finding.cure = cure.empty() ? finding.cure : cure;
  }
  return finding;
}
