// UTF-8 by characters (Unicode code points): decoding, validation, and the one table of characters that are
// not visible.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace fieldpost {

/// A character decoded from UTF-8, or a byte that belongs to no well-formed character.
struct Utf8Character {
  char32_t codePoint = 0;     ///< the value of the byte where `isWellFormed` is false
  std::size_t bytes = 0;      ///< how many bytes of the text it takes, 1 to 4
  bool isWellFormed = false;  ///< by the Unicode Standard, table 3-7
};

/// Decodes the first character of a text that is not empty. A byte that begins no well-formed character
/// counts as one character of one byte.
[[nodiscard]] Utf8Character FirstCharacter(std::string_view text);

/// How a character affects the text around it.
enum class CharacterKind {
  Visible,
  Control,        ///< C0 and C1 control characters, tabs and line ends among them, and DEL
  LineSeparator,  ///< U+2028 and U+2029
  Direction,      ///< embeds, overrides or isolates a direction of writing
  ZeroWidth,      ///< invisible: joiners, marks of direction, the byte order mark
};

/// Returns the kind of a character by the table that logs, messages and viewers share.
[[nodiscard]] CharacterKind KindOf(char32_t codePoint);

/// Returns the largest position up to `position` that is not inside a well-formed character of `text`.
/// `position` is at most the size of `text`.
[[nodiscard]] std::size_t CharacterBoundary(std::string_view text, std::size_t position);

/// Returns the first `count` characters of a text; all of it when it has fewer.
[[nodiscard]] std::string_view FirstCharacters(std::string_view text, std::size_t count);

/// Returns a text without its last character. An empty text stays empty.
[[nodiscard]] std::string_view WithoutLastCharacter(std::string_view text);

/// Counts the characters of a well-formed text. In any other, every byte but the continuation bytes counts.
[[nodiscard]] std::size_t CountCharacters(std::string_view text);

/// Returns `text` with U+FFFD in the place of each byte that belongs to no well-formed character.
[[nodiscard]] std::string WellFormedUtf8(std::string_view text);

/// Converts well-formed UTF-8 to UTF-16. Throws std::exception when `text` is not well-formed.
[[nodiscard]] std::u16string Utf16FromUtf8(std::string_view text);

/// Converts ISO-8859-1, in which each byte is the code point of its character, to UTF-8.
[[nodiscard]] std::string Utf8FromLatin1(std::string_view text);

}  // namespace fieldpost
