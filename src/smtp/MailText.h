// Texts in the encodings of mail: header values, file names, bodies.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace fieldpost {

/// One header field, folded, with its line end. Control characters, line breaks too, become blanks; blanks at
/// both ends go. Text beyond ASCII, text that would be mistaken for an encoded word, and words too long to be
/// folded become encoded words (RFC 2047). No line is longer than 78 bytes.
std::string HeaderField(std::string_view name, std::string_view text);

/// The name under which a file travels, in a mail or a zip: its file name as well-formed UTF-8, control
/// characters replaced by "_".
std::string TravelName(const std::filesystem::path& file);

/// A file name as a quoted-string (RFC 2045, section 5.1), quotes included. Every character beyond ASCII, and
/// what would make it look like an encoded word, becomes "_".
std::string QuotedName(std::string_view given);

/// A MIME parameter that carries a file name, as continuation lines of a header: each begins with "; ", the
/// line end and a blank. An ASCII name that does not look like an encoded word is one quoted-string; any
/// other is written as RFC 2231 says, in as many sections as lines of 78 bytes need.
std::string NameParameter(std::string_view parameter, std::string_view name);

/// `text` with every line ended by CR LF, whatever ended it before. The last line gets no end that it had
/// not.
std::string WithCrLf(std::string_view text);

/// Whether a text may travel as it stands (RFC 2045, section 2.7): ASCII without control characters but for
/// tabs and line ends, and no line longer than 998 bytes. `text` has CR LF line ends.
bool IsSevenBit(std::string_view text);

/// `text`, whose lines end in CR LF, as quoted-printable (RFC 2045, section 6.7).
std::string QuotedPrintable(std::string_view text);

}  // namespace fieldpost
