// Small operations on UTF-8 text. Only ASCII letters have a case here, whatever the system's locale.
#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>

namespace fieldpost {

/// Whether a byte is an ASCII control character; tabs and line ends are.
bool IsControl(char c);

/// Whether a UTF-8 text contains a control character (C0, C1 or DEL), a line separator, or a character that
/// changes the direction of writing. Bytes that are not UTF-8 are ignored.
bool HoldsControl(std::string_view text);

/// Returns `text` with its ASCII letters in lower case.
std::string ToLowerAscii(std::string_view text);

/// Whether two texts are equal except for the case of ASCII letters.
bool EqualNoCase(std::string_view left, std::string_view right);

/// Compares two texts byte by byte, ignoring the case of ASCII letters.
std::strong_ordering CompareNoCase(std::string_view left, std::string_view right);

/// Whether `text` contains `part`, ignoring the case of ASCII letters.
bool ContainsNoCase(std::string_view text, std::string_view part);

/// Whether `text` ends in `ending`, ignoring the case of ASCII letters.
bool EndsWithNoCase(std::string_view text, std::string_view ending);

/// Returns `text` without the characters of `blanks` at both of its ends.
std::string_view Trimmed(std::string_view text, std::string_view blanks = " \t\r\n");

/// Returns `text` with every byte of a character that is not visible (see KindOf), and every byte that is not
/// UTF-8, written as "\xNN": a hostile name can neither forge a line, nor control a terminal, nor look like
/// another name.
std::string EscapeControls(std::string_view text);

/// Returns the ASCII letters and digits of `text`, in order.
std::string LettersAndDigits(std::string_view text);

/// Returns `text` with every occurrence of `what`, which is not empty, replaced by `with`.
std::string Replaced(std::string_view text, std::string_view what, std::string_view with);

}  // namespace fieldpost
