#include "smtp/MailText.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "common/PathText.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "smtp/Base64.h"

namespace fieldpost {
namespace {

constexpr std::size_t LongestHeaderLine = 78;
constexpr std::size_t LongestEncodedLine = 76;     // RFC 2047, section 2; RFC 2045, section 6.7
constexpr std::size_t LongestTransportLine = 998;  // RFC 5322, section 2.1.1
constexpr std::string_view EncodedWordBegin = "=?";

unsigned char ByteOf(char c) {
  return static_cast<unsigned char>(c);
}

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return ByteOf(c) < 0x80; });
}

std::string WithoutControls(std::string_view text, char instead) {
  std::string result(text);
  std::replace_if(result.begin(), result.end(), IsControl, instead);
  return result;
}

/// Splits `text` before each run of blanks. A line end may be inserted before each piece but the first.
std::vector<std::string_view> SplitBeforeBlanks(std::string_view text) {
  std::vector<std::string_view> pieces;
  while (!text.empty()) {
    const std::size_t word = std::min(text.find_first_not_of(' '), text.size());
    const std::size_t end = std::min(text.find(' ', word), text.size());
    pieces.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return pieces;
}

/// Whether a header field can be written without encoded words.
bool NeedsNoEncoding(std::string_view name, const std::vector<std::string_view>& pieces) {
  const auto isPlain = [](std::string_view piece) {
    return piece.size() <= LongestHeaderLine && IsAscii(piece) &&
           piece.find(EncodedWordBegin) == std::string_view::npos;
  };
  const bool firstFits = pieces.empty() || name.size() + 2 + pieces.front().size() <= LongestHeaderLine;
  return firstFits && std::all_of(pieces.begin(), pieces.end(), isPlain);
}

std::string Folded(std::string_view name, const std::vector<std::string_view>& pieces) {
  std::string field = fmt::format("{}: ", name);
  std::size_t line = field.size();
  for (const std::string_view piece : pieces) {
    if (line + piece.size() > LongestHeaderLine && line > name.size() + 2) {
      field += "\r\n";
      line = 0;
    }
    field += piece;
    line += piece.size();
  }
  return field += "\r\n";
}

std::string AsEncodedWords(std::string_view name, std::string_view text) {
  constexpr std::string_view open = "=?UTF-8?B?";
  constexpr std::string_view close = "?=";
  std::string field = fmt::format("{}: ", name);
  std::size_t line = field.size();
  while (!text.empty()) {
    // An encoded word must not end within a character (RFC 2047, section 5).
    const std::size_t room = (LongestEncodedLine - line - open.size() - close.size()) / 4 * 3;
    std::size_t length = 0;
    while (length < text.size()) {
      const std::size_t next = FirstCharacter(text.substr(length)).bytes;
      if (length + next > room) break;
      length += next;
    }
    field.append(open).append(Base64(text.substr(0, length))).append(close);
    text.remove_prefix(length);
    if (!text.empty()) field += "\r\n ";
    line = 1;
  }
  return field += "\r\n";
}

bool IsAttributeChar(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         std::string_view("-._~").find(c) != std::string_view::npos;
}

/// Returns one character as RFC 2231 writes it in an encoded parameter.
std::string PercentEncoded(std::string_view character) {
  if (IsAttributeChar(character.front())) return std::string(character);
  std::string result;
  for (const char c : character) result += fmt::format("%{:02X}", ByteOf(c));
  return result;
}

/// Returns a parameter in sections (RFC 2231, sections 3 and 4). No section ends within a character, because
/// some mail programs decode each section separately.
std::string InSections(std::string_view parameter, std::string_view name) {
  std::string result;
  std::size_t section = 0;
  std::string line = fmt::format(" {}*0*=UTF-8''", parameter);
  while (!name.empty()) {
    const std::size_t length = FirstCharacter(name).bytes;
    const std::string piece = PercentEncoded(name.substr(0, length));
    if (line.size() + piece.size() + 1 > LongestHeaderLine) {
      result.append(";\r\n").append(line);
      line = fmt::format(" {}*{}*=", parameter, ++section);
    }
    line += piece;
    name.remove_prefix(length);
  }
  return result.append(";\r\n").append(line);
}

/// Appends one line of text, given without its line end, as quoted-printable lines.
void AppendQuotedLine(std::string_view text, std::string& result) {
  std::size_t line = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    const bool last = at + 1 == text.size();
    const bool plain = c == ' ' || c == '\t' ? !last : c > ' ' && c <= '~' && c != '=';
    const std::size_t length = plain ? 1 : 3;
    // A line that continues needs room for the "=" of the soft line break.
    if (line + length > LongestEncodedLine - (last ? 0 : 1)) {
      result += "=\r\n";
      line = 0;
    }
    if (plain) {
      result += c;
    } else {
      fmt::format_to(std::back_inserter(result), "={:02X}", ByteOf(c));
    }
    line += length;
  }
}

}  // namespace

std::string HeaderField(std::string_view name, std::string_view text) {
  const std::string plain = WithoutControls(text, ' ');
  const std::string_view trimmed = Trimmed(plain);
  const std::vector<std::string_view> pieces = SplitBeforeBlanks(trimmed);
  if (NeedsNoEncoding(name, pieces)) return Folded(name, pieces);
  return AsEncodedWords(name, WellFormedUtf8(trimmed));
}

std::string TravelName(const std::filesystem::path& file) {
  return WithoutControls(WellFormedUtf8(Utf8FromPath(file.filename())), '_');
}

std::string QuotedName(std::string_view given) {
  const std::string withoutWords = Replaced(given, EncodedWordBegin, "=_");
  std::string_view name = withoutWords;
  std::string result = "\"";
  while (!name.empty()) {
    const std::size_t length = FirstCharacter(name).bytes;
    if (name.front() == '"' || name.front() == '\\') result += '\\';
    result += ByteOf(name.front()) < 0x80 ? name.front() : '_';
    name.remove_prefix(length);
  }
  return result += '"';
}

std::string NameParameter(std::string_view parameter, std::string_view name) {
  const bool looksEncoded = name.find(EncodedWordBegin) != std::string_view::npos;
  if (looksEncoded || !IsAscii(name)) return InSections(parameter, name);
  return fmt::format(";\r\n {}={}", parameter, QuotedName(name));
}

std::string WithCrLf(std::string_view text) {
  std::string result;
  result.reserve(text.size() + text.size() / 32);
  while (!text.empty()) {
    const std::size_t end = text.find_first_of("\r\n");
    result += text.substr(0, end);
    if (end == std::string_view::npos) break;
    result += "\r\n";
    text.remove_prefix(end + (text.substr(end).starts_with("\r\n") ? 2 : 1));
  }
  return result;
}

bool IsSevenBit(std::string_view text) {
  const auto isPlain = [](char c) { return (c >= ' ' && c <= '~') || c == '\t' || c == '\r' || c == '\n'; };
  if (!std::all_of(text.begin(), text.end(), isPlain)) return false;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find("\r\n"), text.size());
    if (end > LongestTransportLine) return false;
    text.remove_prefix(std::min(end + 2, text.size()));
  }
  return true;
}

std::string QuotedPrintable(std::string_view text) {
  std::string result;
  result.reserve(text.size() + text.size() / 4);
  while (!text.empty()) {
    const std::size_t end = text.find("\r\n");
    AppendQuotedLine(text.substr(0, end), result);
    if (end == std::string_view::npos) break;
    result += "\r\n";
    text.remove_prefix(end + 2);
  }
  return result;
}

}  // namespace fieldpost
