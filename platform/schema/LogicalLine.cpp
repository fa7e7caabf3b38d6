#include "platform/schema/LogicalLine.h"

#include <algorithm>

#include "platform/schema/DefinitionKind.h"
#include "platform/schema/isNumericOid.h"
#include "platform/text/ascii.h"

namespace schema {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isBlankLine(std::string_view line) {
  return std::all_of(line.begin(), line.end(), [](char c) { return text::isAsciiWhiteSpace(c); });
}

/// Counts the lines that look like each form: in LDIF a line begins with `type:`, in the other form
/// with the keyword of a directive.
struct Votes {
  std::size_t ldif = 0;
  std::size_t directives = 0;

  void add(std::string_view line) {
    const std::size_t end = std::min(line.find_first_of(" \t(:"), line.size());
    const std::string_view word = line.substr(0, end);
    if (end < line.size() && line[end] == ':') {
      const std::string_view type = word.substr(0, word.find(';'));
      ldif += isDescr(type) || isNumericOid(type) ? 1 : 0;
    } else {
      directives += findDefinitionKind(FileForm::directives, word) != nullptr ? 1 : 0;
    }
  }
};

}  // namespace

std::size_t LogicalLine::lineOf(std::size_t offset) const {
  const auto after = std::upper_bound(breaks.begin(), breaks.end(), offset);
  return firstLine + static_cast<std::size_t>(after - breaks.begin());
}

LogicalLineReader::LogicalLineReader(std::string_view text) : text_(text) {
  if (text_.starts_with(byteOrderMark)) {
    text_.remove_prefix(byteOrderMark.size());
  }
  form_ = findForm();
}

FileForm LogicalLineReader::findForm() {
  Votes votes;
  while (at_ < text_.size()) {
    votes.add(takePhysicalLine());
  }
  at_ = 0;
  lineNumber_ = 0;
  return votes.ldif > 0 && votes.ldif >= votes.directives ? FileForm::ldif : FileForm::directives;
}

std::string_view LogicalLineReader::takePhysicalLine() {
  const std::size_t end = std::min(text_.find('\n', at_), text_.size());
  std::string_view line = text_.substr(at_, end - at_);
  if (line.ends_with('\r')) {
    line.remove_suffix(1);
  }
  at_ = std::min(end + 1, text_.size());
  ++lineNumber_;
  return line;
}

bool LogicalLineReader::atContinuation() const {
  if (at_ >= text_.size()) {
    return false;
  }
  return text_[at_] == ' ' || (form_ == FileForm::directives && text_[at_] == '\t');
}

void LogicalLineReader::readContinuations(LogicalLine& line, std::size_t start) {
  if (form_ == FileForm::ldif) {
    unfolded_ = line.text;
    while (atContinuation()) {
      line.breaks.push_back(unfolded_.size());
      unfolded_ += takePhysicalLine().substr(1);
    }
    line.text = unfolded_;
    return;
  }
  while (atContinuation()) {
    line.breaks.push_back(at_ - start);
    const std::string_view more = takePhysicalLine();
    const auto end = static_cast<std::size_t>(more.data() + more.size() - text_.data());
    line.text = text_.substr(start, end - start);
  }
}

bool LogicalLineReader::next(LogicalLine& line) {
  while (at_ < text_.size()) {
    const std::size_t start = at_;
    line.breaks.clear();
    line.text = takePhysicalLine();
    line.firstLine = lineNumber_;
    if (isBlankLine(line.text)) {
      continue;
    }
    const bool comment = line.text.starts_with('#');
    if (atContinuation()) {
      readContinuations(line, start);
    }
    if (!comment) {
      return true;
    }
  }
  return false;
}

}  // namespace schema
