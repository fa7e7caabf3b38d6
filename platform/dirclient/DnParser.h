// The syntax of distinguished names: RFC 4514, and what running directories really export.
#ifndef PLATFORM_DIRCLIENT_DNPARSER_H
#define PLATFORM_DIRCLIENT_DNPARSER_H

#include <memory_resource>
#include <string>
#include <string_view>

namespace dirclient {

/// One attribute value assertion as it is written; the views point into the DN.
struct WrittenAva {
  enum class Form {
    text,    ///< escapes as in RFC 4514, blanks around it taken off
    quoted,  ///< what stands between the double quotes
    ber,     ///< the hexadecimal digits behind the `#`
  };

  std::string_view type;  ///< without any "oid." prefix
  std::string_view value;
  Form form = Form::text;
  bool lastInRdn = false;
};

/// Reads a DN from left to right, one assertion at a time. Allocates nothing.
class DnParser {
 public:
  enum class Step {
    ava,    ///< an assertion was read
    end,    ///< the DN ended behind the last assertion
    error,  ///< this is no DN; what was read before means nothing
  };

  /// `dn` has to live as long as the parser and the assertions that it yields.
  explicit DnParser(std::string_view dn);

  Step next(WrittenAva& ava);

 private:
  void skipBlanks();
  bool readType(WrittenAva& ava);
  bool readValue(WrittenAva& ava);
  bool readQuotedValue(WrittenAva& ava);
  bool readTextValue(WrittenAva& ava);
  bool readSeparator(WrittenAva& ava);
  bool atEnd() const { return at_ == dn_.size(); }

  std::string_view dn_;
  std::string_view::size_type at_ = 0;
  bool more_ = true;  // the text began, or a separator promised another assertion
};

/// Appends the bytes that a text or quoted value stands for: `\` and two hexadecimal digits are
/// that byte, `\` and any other character are that character.
void appendUnescaped(std::string_view value, std::pmr::string& bytes);

}  // namespace dirclient

#endif
