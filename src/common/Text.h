// Small operations on UTF-8 text. Only ASCII letters have a case here, whatever the system's locale.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace fieldpost {

/// Whether a byte is a control character of ASCII; a tab and a line end are ones too.
bool IsControl(char c);

/// Whether a UTF-8 text holds a control character, of ASCII or beyond. Separators of lines and turns of the
/// direction of writing count too.
bool HoldsControl(std::string_view text);

std::string ToLowerAscii(std::string_view text);

/// Whether two texts are equal but for the case of ASCII letters.
bool EqualNoCase(std::string_view left, std::string_view right);

/// Whether `text` contains `part`, without regard to the case of ASCII letters.
bool ContainsNoCase(std::string_view text, std::string_view part);

/// Whether `text` ends in `ending`, without regard to the case of ASCII letters.
bool EndsWithNoCase(std::string_view text, std::string_view ending);

/// `text` without the characters of `blanks` at both of its ends.
std::string_view Trimmed(std::string_view text, std::string_view blanks = " \t\r\n");

/// `text` with every byte of a control character, and every byte that is no UTF-8, written as "\xNN", so that
/// a hostile name can neither break a line, nor steer a terminal, nor be shown as another one.
std::string EscapeControls(std::string_view text);

/// The ASCII letters and digits of `text`, in order.
std::string LettersAndDigits(std::string_view text);

/// `text` with every occurrence of `what` replaced by `with`.
std::string Replaced(std::string_view text, std::string_view what, std::string_view with);

/// How many characters (code points) a UTF-8 text has.
std::size_t CountCharacters(std::string_view text);

}  // namespace fieldpost
