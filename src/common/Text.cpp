#include "common/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>

namespace fieldpost {
namespace {

char LowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool SameNoCase(char left, char right) {
  return LowerAscii(left) == LowerAscii(right);
}

bool IsLetterOrDigit(char c) {
  const char lower = LowerAscii(c);
  return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9');
}

/// 1 for the first byte of a character, 0 for those that follow it.
std::uint8_t BeginsCharacter(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
}

/// How many bytes at the front of `text` are a character that shows as none but changes how others show: a
/// control character, ASCII or beyond (U+0080 to U+009F), a separator of lines or a turn of the direction
/// (U+2028 to U+202E, U+2066 to U+2069).
std::size_t HiddenLength(std::string_view text) {
  if (IsControl(text.front())) return 1;
  const std::string_view two = text.substr(0, 2);
  if (two >= "\xC2\x80" && two <= "\xC2\x9F") return two.size();
  const std::string_view three = text.substr(0, 3);
  const bool turns = (three >= "\xE2\x80\xA8" && three <= "\xE2\x80\xAE") ||
                     (three >= "\xE2\x81\xA6" && three <= "\xE2\x81\xA9");
  return turns ? three.size() : 0;
}

bool IsWithin(char c, unsigned char first, unsigned char last) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= first && byte <= last;
}

/// The bytes of the character that a text begins with; 0 where it is not UTF-8.
std::size_t CharacterLength(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return 1;
  const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
  if (length == 0 || text.size() < length) return 0;
  // The second byte tells what is written longer than needed, half a pair, or beyond the last character.
  const unsigned char first = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned char last = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (!IsWithin(text[1], first, last)) return 0;
  const std::string_view rest = text.substr(2, length - 2);
  const bool whole = std::all_of(rest.begin(), rest.end(), [](char c) { return IsWithin(c, 0x80, 0xBF); });
  return whole ? length : 0;
}

}  // namespace

bool IsControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

bool HoldsControl(std::string_view text) {
  for (; !text.empty(); text.remove_prefix(1)) {
    if (HiddenLength(text) > 0) return true;
  }
  return false;
}

std::string ToLowerAscii(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), LowerAscii);
  return result;
}

bool EqualNoCase(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(), SameNoCase);
}

bool ContainsNoCase(std::string_view text, std::string_view part) {
  return std::search(text.begin(), text.end(), part.begin(), part.end(), SameNoCase) != text.end() ||
         part.empty();
}

bool EndsWithNoCase(std::string_view text, std::string_view ending) {
  return text.size() >= ending.size() && EqualNoCase(text.substr(text.size() - ending.size()), ending);
}

std::string_view Trimmed(std::string_view text, std::string_view blanks) {
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string EscapeControls(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    text.remove_prefix(character.size());
    if (length > 0 && !HoldsControl(character)) {
      result += character;
      continue;
    }
    for (const char c : character) result += fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
  }
  return result;
}

std::string LettersAndDigits(std::string_view text) {
  std::string result;
  std::copy_if(text.begin(), text.end(), std::back_inserter(result), IsLetterOrDigit);
  return result;
}

std::string Replaced(std::string_view text, std::string_view what, std::string_view with) {
  std::string result;
  result.reserve(text.size());
  std::size_t from = 0;
  for (std::size_t at = text.find(what); at != std::string_view::npos; at = text.find(what, from)) {
    result.append(text.substr(from, at - from)).append(with);
    from = at + what.size();
  }
  return result.append(text.substr(from));
}

std::size_t CountCharacters(std::string_view text) {
  // In blocks of a fixed size, small enough for their count to fit into a byte, the compiler takes many bytes
  // at a time.
  constexpr std::size_t block = 240;
  std::size_t count = 0;
  for (; text.size() >= block; text.remove_prefix(block)) {
    std::uint8_t inBlock = 0;
    for (std::size_t i = 0; i < block; ++i)
      inBlock = static_cast<std::uint8_t>(inBlock + BeginsCharacter(text[i]));
    count += inBlock;
  }
  for (const char c : text) count += BeginsCharacter(c);
  return count;
}

}  // namespace fieldpost
