#include "platform/dirclient/DnParser.h"

#include "platform/text/attributeType.h"
#include "platform/text/hexadecimal.h"

namespace dirclient {
namespace {

bool isSeparator(char c) {
  return c == ',' || c == ';' || c == '+';
}

bool isHexPair(std::string_view text, std::string_view::size_type at) {
  return at + 1 < text.size() && text::hexDigitValue(text[at]) >= 0 &&
         text::hexDigitValue(text[at + 1]) >= 0;
}

/// The type without its "oid." prefixes. All go, so that the normal form of a normal form is
/// itself.
std::string_view withoutOidPrefix(std::string_view type) {
  const auto hasPrefix = [&] {
    return type.size() >= 4 && text::toAsciiUpper(type[0]) == 'O' &&
           text::toAsciiUpper(type[1]) == 'I' && text::toAsciiUpper(type[2]) == 'D' &&
           type[3] == '.';
  };
  while (hasPrefix()) {
    type.remove_prefix(4);
  }
  return type;
}

/// Whether the value is `#` and an even, non-zero number of hexadecimal digits.
bool isBerValue(std::string_view value) {
  if (value.size() < 3 || value.size() % 2 == 0 || value[0] != '#') {
    return false;
  }
  for (const char c : value.substr(1)) {
    if (text::hexDigitValue(c) < 0) {
      return false;
    }
  }
  return true;
}

}  // namespace

void appendUnescaped(std::string_view value, std::pmr::string& bytes) {
  for (std::string_view::size_type i = 0; i < value.size(); ++i) {
    if (value[i] != '\\') {
      bytes += value[i];
    } else if (isHexPair(value, i + 1)) {
      bytes += static_cast<char>(text::hexDigitValue(value[i + 1]) * 16 +
                                 text::hexDigitValue(value[i + 2]));
      i += 2;
    } else {
      ++i;
      bytes += value[i];
    }
  }
}

DnParser::DnParser(std::string_view dn) : dn_(dn) {}

DnParser::Step DnParser::next(WrittenAva& ava) {
  if (!more_) {
    return Step::end;
  }
  return readType(ava) && readValue(ava) && readSeparator(ava) ? Step::ava : Step::error;
}

void DnParser::skipBlanks() {
  while (!atEnd() && dn_[at_] == ' ') {
    ++at_;
  }
}

bool DnParser::readType(WrittenAva& ava) {
  skipBlanks();
  const auto begin = at_;
  while (!atEnd() && text::isAttributeTypeCharacter(dn_[at_])) {
    ++at_;
  }
  ava.type = withoutOidPrefix(dn_.substr(begin, at_ - begin));
  skipBlanks();
  if (ava.type.empty() || atEnd() || dn_[at_] != '=') {
    return false;
  }
  ++at_;
  return true;
}

bool DnParser::readValue(WrittenAva& ava) {
  skipBlanks();
  return !atEnd() && dn_[at_] == '"' ? readQuotedValue(ava) : readTextValue(ava);
}

bool DnParser::readQuotedValue(WrittenAva& ava) {
  const auto begin = ++at_;
  while (!atEnd() && dn_[at_] != '"') {
    at_ += dn_[at_] == '\\' ? 2 : 1;
    if (at_ > dn_.size()) {
      return false;
    }
  }
  if (atEnd()) {
    return false;
  }
  ava.form = WrittenAva::Form::quoted;
  ava.value = dn_.substr(begin, at_ - begin);
  ++at_;
  skipBlanks();
  return true;
}

bool DnParser::readTextValue(WrittenAva& ava) {
  const auto begin = at_;
  auto end = at_;
  while (!atEnd() && !isSeparator(dn_[at_])) {
    if (dn_[at_] == '\\') {
      if (at_ + 1 == dn_.size()) {
        return false;
      }
      at_ += 2;
      end = at_;
    } else {
      end = dn_[at_] == ' ' ? end : at_ + 1;
      ++at_;
    }
  }
  ava.value = dn_.substr(begin, end - begin);
  ava.form = WrittenAva::Form::text;
  if (isBerValue(ava.value)) {
    ava.form = WrittenAva::Form::ber;
    ava.value.remove_prefix(1);
  }
  return true;
}

bool DnParser::readSeparator(WrittenAva& ava) {
  more_ = !atEnd();
  ava.lastInRdn = atEnd() || dn_[at_] != '+';
  if (atEnd()) {
    return true;
  }
  return isSeparator(dn_[at_++]);
}

}  // namespace dirclient
