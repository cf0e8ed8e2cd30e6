// Encodes texts for mail: header fields, file names, bodies.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace fieldpost {

/// Returns the header field `name` with the value `text`, folded so that no line is longer than 78 bytes, and
/// with its line end. Control characters, including line breaks, become blanks; blanks at both ends are
/// removed. Text beyond ASCII, text that looks like an encoded word, and words too long to be folded become
/// encoded words (RFC 2047).
std::string HeaderField(std::string_view name, std::string_view text);

/// Returns the name that a file has in a mail or a zip: its filename as well-formed UTF-8, with control
/// characters replaced by "_".
std::string TravelName(const std::filesystem::path& file);

/// Returns a filename as a quoted-string (RFC 2045, section 5.1), including the quotes. Each character beyond
/// ASCII becomes "_", and so does the "?" of an "=?" that would make the name look like an encoded word.
std::string QuotedName(std::string_view given);

/// Returns a MIME parameter whose value is a filename, as continuation lines of a header, each preceded by
/// ";", CR LF and a blank. An ASCII name that does not look like an encoded word is written as one
/// quoted-string; any other is encoded and divided into sections of at most 78 bytes (RFC 2231).
std::string NameParameter(std::string_view parameter, std::string_view name);

/// Returns `text` with each CR, LF or CR LF replaced by CR LF. An unfinished last line stays unfinished.
std::string WithCrLf(std::string_view text);

/// Whether a text, whose lines end in CR LF, can be sent without encoding (RFC 2045, section 2.7): it is
/// ASCII, its only control characters are tabs and line ends, and no line is longer than 998 bytes.
bool IsSevenBit(std::string_view text);

/// Returns `text`, whose lines end in CR LF, as quoted-printable (RFC 2045, section 6.7).
std::string QuotedPrintable(std::string_view text);

}  // namespace fieldpost
