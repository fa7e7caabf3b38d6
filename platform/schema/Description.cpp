#include "platform/schema/Description.h"

#include <algorithm>

#include "platform/schema/isNumericOid.h"
#include "platform/text/ascii.h"
#include "platform/text/equalIgnoringCase.h"
#include "platform/text/escape.h"
#include "platform/text/withoutOuter.h"

namespace schema {

namespace {

struct Token {
  enum class Type { leftParenthesis, rightParenthesis, dollar, quoted, word, end };
  Type type;
  std::string_view text;  ///< as written, a quoted one without its quotes
  std::size_t offset;
};

/// Splits a description into tokens. current() is the next token, which take() takes.
class Tokenizer {
 public:
  explicit Tokenizer(std::string_view text) : text_(text) { current_ = read(); }

  const Token& current() const { return current_; }

  bool at(Token::Type type) const { return current_.type == type; }

  Token take() {
    const Token token = current_;
    current_ = read();
    return token;
  }

 private:
  Token read() {
    while (at_ < text_.size() && text::isAsciiWhiteSpace(text_[at_])) {
      ++at_;
    }
    const std::size_t start = at_;
    if (start == text_.size()) {
      return {Token::Type::end, {}, start};
    }
    switch (text_[start]) {
      case '(':
        return single(Token::Type::leftParenthesis);
      case ')':
        return single(Token::Type::rightParenthesis);
      case '$':
        return single(Token::Type::dollar);
      case '\'':
        return quoted();
      default:
        return word();
    }
  }

  Token single(Token::Type type) {
    ++at_;
    return {type, text_.substr(at_ - 1, 1), at_ - 1};
  }

  Token quoted() {
    const std::size_t start = at_;
    const std::size_t end = text_.find('\'', start + 1);
    if (end == std::string_view::npos) {
      throw DefinitionError(start, "the quoted text that begins with " +
                                       shown(text_.substr(start)) + " has no closing quote");
    }
    at_ = end + 1;
    return {Token::Type::quoted, text_.substr(start + 1, end - start - 1), start};
  }

  Token word() {
    const std::size_t start = at_;
    constexpr std::string_view ends = "()$'";
    while (at_ < text_.size() && !text::isAsciiWhiteSpace(text_[at_]) &&
           ends.find(text_[at_]) == std::string_view::npos) {
      ++at_;
    }
    return {Token::Type::word, text_.substr(start, at_ - start), start};
  }

  std::string_view text_;
  std::size_t at_ = 0;
  Token current_{};
};

[[noreturn]] void throwUnexpected(const Token& token, const std::string& expected) {
  if (token.type == Token::Type::end) {
    throw DefinitionError(token.offset, "it ends where " + expected + " is expected");
  }
  throw DefinitionError(token.offset,
                        shown(token.text) + " stands where " + expected + " is expected");
}

bool isNameOrOid(const Token& token) {
  return token.type == Token::Type::word || token.type == Token::Type::quoted;
}

/// qdescr: a name. Quotes may be missing.
std::string_view qdescr(Tokenizer& tokens) {
  if (!isNameOrOid(tokens.current())) {
    throwUnexpected(tokens.current(), "a name in quotes");
  }
  const Token token = tokens.take();
  if (!isDescr(token.text)) {
    throw DefinitionError(token.offset, shown(token.text) +
                                            " is no name: a letter, then letters, "
                                            "digits, \"-\", \"_\" or \".\"");
  }
  return token.text;
}

/// qdescrs = qdescr / ( LPAREN WSP [ qdescrlist ] WSP RPAREN )
std::vector<std::string_view> qdescrs(Tokenizer& tokens) {
  std::vector<std::string_view> names;
  if (!tokens.at(Token::Type::leftParenthesis)) {
    names.push_back(qdescr(tokens));
    return names;
  }
  tokens.take();
  while (!tokens.at(Token::Type::rightParenthesis)) {
    names.push_back(qdescr(tokens));
  }
  tokens.take();
  return names;
}

std::string_view qdstring(Tokenizer& tokens) {
  if (!tokens.at(Token::Type::quoted)) {
    throwUnexpected(tokens.current(), "a text in quotes");
  }
  return tokens.take().text;
}

/// qdstrings = qdstring / ( LPAREN WSP [ qdstringlist ] WSP RPAREN )
void qdstrings(Tokenizer& tokens) {
  if (!tokens.at(Token::Type::leftParenthesis)) {
    qdstring(tokens);
    return;
  }
  tokens.take();
  while (!tokens.at(Token::Type::rightParenthesis)) {
    qdstring(tokens);
  }
  tokens.take();
}

/// A number that begins with a macro, `macro:1.2`. A macro alone has the form of a name (isDescr).
bool isMacroOid(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos || !isDescr(text.substr(0, colon))) {
    return false;
  }
  const std::string_view suffix = text.substr(colon + 1);
  return isNumericOid(suffix) ||
         (!suffix.empty() && std::all_of(suffix.begin(), suffix.end(), text::isAsciiDigit));
}

/// oid = descr / numericoid; the numericoid may begin with a macro. Quotes may stand around it.
Token oid(Tokenizer& tokens, const std::string& what) {
  if (!isNameOrOid(tokens.current())) {
    throwUnexpected(tokens.current(), what);
  }
  const Token token = tokens.take();
  if (!isNumericOid(token.text) && !isDescr(token.text) && !isMacroOid(token.text)) {
    throw DefinitionError(token.offset,
                          shown(token.text) + " is neither a dotted number nor a name");
  }
  return token;
}

/// oids = oid / ( LPAREN WSP oidlist WSP RPAREN ), oidlist = oid *( WSP DOLLAR WSP oid )
std::vector<std::string_view> oids(Tokenizer& tokens) {
  std::vector<std::string_view> list;
  if (!tokens.at(Token::Type::leftParenthesis)) {
    list.push_back(oid(tokens, "a name or dotted number").text);
    return list;
  }
  tokens.take();
  list.push_back(oid(tokens, "a name or dotted number").text);
  while (tokens.at(Token::Type::dollar)) {
    tokens.take();
    list.push_back(oid(tokens, "a name or dotted number").text);
  }
  if (!tokens.at(Token::Type::rightParenthesis)) {
    throwUnexpected(tokens.current(), "\"$\" or \")\"");
  }
  tokens.take();
  return list;
}

/// noidlen = numericoid [ LCURLY len RCURLY ]; the numericoid may be a macro or a name.
std::string_view noidlen(Tokenizer& tokens) {
  if (!isNameOrOid(tokens.current())) {
    throwUnexpected(tokens.current(), "the dotted number of a syntax");
  }
  const Token token = tokens.take();
  const std::size_t brace = std::min(token.text.find('{'), token.text.size());
  const std::string_view syntax = token.text.substr(0, brace);
  const std::string_view length = token.text.substr(brace);
  const bool goodLength =
      length.empty() || (length.size() > 2 && length.back() == '}' &&
                         std::all_of(length.begin() + 1, length.end() - 1, text::isAsciiDigit));
  if (!goodLength || (!isNumericOid(syntax) && !isDescr(syntax) && !isMacroOid(syntax))) {
    throw DefinitionError(token.offset, shown(token.text) +
                                            " is no syntax: a dotted number, "
                                            "then at most a length in braces");
  }
  return syntax;
}

std::string_view usage(Tokenizer& tokens) {
  constexpr std::string_view usages[] = {"userApplications", "directoryOperation",
                                         "distributedOperation", "dSAOperation"};
  const Token token = tokens.take();
  const bool known = std::any_of(std::begin(usages), std::end(usages), [&](std::string_view one) {
    return token.type == Token::Type::word && text::equalIgnoringCase(token.text, one);
  });
  if (!known) {
    throwUnexpected(token,
                    "userApplications, directoryOperation, distributedOperation or "
                    "dSAOperation");
  }
  return token.text;
}

std::string_view ruleId(Tokenizer& tokens) {
  const Token& token = tokens.current();
  if (token.type != Token::Type::word ||
      !std::all_of(token.text.begin(), token.text.end(), text::isAsciiDigit)) {
    throwUnexpected(token, "the number of a structure rule");
  }
  return tokens.take().text;
}

/// ruleids = ruleid / ( LPAREN WSP ruleidlist WSP RPAREN )
std::vector<std::string_view> ruleIds(Tokenizer& tokens) {
  std::vector<std::string_view> list;
  if (!tokens.at(Token::Type::leftParenthesis)) {
    list.push_back(ruleId(tokens));
    return list;
  }
  tokens.take();
  do {
    list.push_back(ruleId(tokens));
  } while (!tokens.at(Token::Type::rightParenthesis));
  tokens.take();
  return list;
}

std::vector<std::string_view> fieldValues(Tokenizer& tokens, ValueForm form) {
  switch (form) {
    case ValueForm::flag:
      return {};
    case ValueForm::qdescrs:
      return qdescrs(tokens);
    case ValueForm::qdstring:
      return {qdstring(tokens)};
    case ValueForm::oid:
      return {oid(tokens, "a name or dotted number").text};
    case ValueForm::oids:
      return oids(tokens);
    case ValueForm::noidlen:
      return {noidlen(tokens)};
    case ValueForm::usage:
      return {usage(tokens)};
    case ValueForm::ruleIds:
      return ruleIds(tokens);
  }
  return {};
}

/// xstring = "X" HYPHEN 1*( ALPHA / HYPHEN / USCORE ). What follows the hyphen is not looked at:
/// real files have digits in it.
bool isExtension(std::string_view keyword) {
  return keyword.size() > 2 && text::toAsciiUpper(keyword[0]) == 'X' && keyword[1] == '-';
}

const Field* findField(const DefinitionKind& kind, std::string_view keyword) {
  const auto found = std::find_if(kind.fields.begin(), kind.fields.end(), [&](const Field& field) {
    return text::equalIgnoringCase(field.keyword, keyword);
  });
  return found != kind.fields.end() ? &*found : nullptr;
}

/// One keyword with its value, or one of the extensions.
void field(Tokenizer& tokens, const DefinitionKind& kind, Description& description) {
  if (!tokens.at(Token::Type::word)) {
    throwUnexpected(tokens.current(), "a keyword or \")\"");
  }
  const Token keyword = tokens.take();
  const Field* known = findField(kind, keyword.text);
  if (known == nullptr) {
    if (!isExtension(keyword.text)) {
      throwUnexpected(keyword, "a keyword or \")\"");
    }
    qdstrings(tokens);
    return;
  }
  const bool twice = std::any_of(description.fields.begin(), description.fields.end(),
                                 [&](const FieldValue& one) { return one.field == known; });
  if (twice) {
    throw DefinitionError(keyword.offset, std::string(known->keyword) + " stands twice in it");
  }
  description.fields.push_back({known, fieldValues(tokens, known->form)});
}

void identifier(Tokenizer& tokens, const DefinitionKind& kind, Description& description) {
  description.identifierOffset = tokens.current().offset;
  description.identifier = kind.type == DefinitionType::ditStructureRule
                               ? ruleId(tokens)
                               : oid(tokens, "the dotted number that identifies it").text;
}

}  // namespace

const std::vector<std::string_view>& Description::values(std::string_view keyword) const {
  static const std::vector<std::string_view> none;
  const auto found = std::find_if(fields.begin(), fields.end(), [&](const FieldValue& one) {
    return one.field->keyword == keyword;
  });
  return found != fields.end() ? found->values : none;
}

std::string_view withoutOrderingPrefix(std::string_view text) {
  text = text::withoutOuter(text::isAsciiWhiteSpace, text);
  if (!text.starts_with('{')) {
    return text;
  }
  const std::size_t end = text.find('}');
  const bool prefix = end != std::string_view::npos && end > 1 &&
                      std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(end),
                                  text::isAsciiDigit);
  return prefix ? text::withoutOuter(text::isAsciiWhiteSpace, text.substr(end + 1)) : text;
}

Description parseDescription(std::string_view text, const DefinitionKind& kind) {
  Tokenizer tokens(text);
  if (!tokens.at(Token::Type::leftParenthesis)) {
    throwUnexpected(tokens.current(), "\"(\"");
  }
  tokens.take();
  Description description;
  identifier(tokens, kind, description);
  while (!tokens.at(Token::Type::rightParenthesis)) {
    field(tokens, kind, description);
  }
  tokens.take();
  if (!tokens.at(Token::Type::end)) {
    throwUnexpected(tokens.current(), "its end");
  }
  return description;
}

std::string shown(std::string_view token) {
  constexpr std::size_t longest = 40;
  std::string result = "\"";
  for (const char c : token.substr(0, longest)) {
    if (c >= ' ' && c <= '~') {
      result += c;
    } else {
      text::appendHexEscape(c, result);
    }
  }
  return result + (token.size() > longest ? "...\"" : "\"");
}

}  // namespace schema
