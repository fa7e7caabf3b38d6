// Base64, RFC 4648 section 4. The padding has to be there; blanks and line ends may not. Bits left
// over in the last group are ignored.
#ifndef PLATFORM_TEXT_BASE64_H
#define PLATFORM_TEXT_BASE64_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace text {

/// Decodes the `length` characters at `text` in place and returns how many bytes they stand for;
/// nothing where they are not whole groups of four with their padding, or hold any other character.
/// The text is undefined after a failure.
std::optional<std::size_t> decodeBase64InPlace(char* text, std::size_t length);

/// The bytes that the text stands for, or nothing where it is not base64.
std::optional<std::string> base64Decoded(std::string_view text);

}  // namespace text

#endif
