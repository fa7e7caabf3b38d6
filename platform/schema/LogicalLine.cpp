#include "platform/schema/LogicalLine.h"

#include <algorithm>

#include "platform/schema/asciiText.h"

namespace schema {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isBlankLine(std::string_view line) {
  return std::all_of(line.begin(), line.end(), [](char c) { return isBlank(c); });
}

/// `type:` in the first column is LDIF; a directive has a blank before anything else.
FileForm formOf(std::string_view line) {
  const std::size_t end = line.find_first_of(": \t(");
  return end != std::string_view::npos && line[end] == ':' ? FileForm::ldif : FileForm::directives;
}

}  // namespace

std::size_t LogicalLine::lineOf(std::size_t offset) const {
  const auto after = std::upper_bound(breaks.begin(), breaks.end(), offset);
  return firstLine + static_cast<std::size_t>(after - breaks.begin());
}

LogicalLineReader::LogicalLineReader(std::string_view text) : text_(text) {
  if (text_.starts_with(byteOrderMark)) {
    text_.remove_prefix(byteOrderMark.size());
  }
  LogicalLine first;
  if (next(first)) {
    form_ = formOf(first.text);
  }
  at_ = 0;
  lineNumber_ = 0;
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
