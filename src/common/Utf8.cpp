#include "common/Utf8.h"

#include <utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace fieldpost {
namespace {

constexpr std::size_t LongestCharacter = 4;  // bytes
constexpr std::string_view ReplacementCharacter = "\xEF\xBF\xBD";

struct CharacterRange {
  char32_t first;
  char32_t last;
  CharacterKind kind;
};

/// In ascending order, without overlaps.
constexpr std::array<CharacterRange, 10> NotVisible{{
    {0x0000, 0x001F, CharacterKind::Control},
    {0x007F, 0x009F, CharacterKind::Control},
    {0x061C, 0x061C, CharacterKind::ZeroWidth},  // Arabic letter mark
    {0x200B, 0x200F, CharacterKind::ZeroWidth},  // space, joiners, marks of direction
    {0x2028, 0x2029, CharacterKind::LineSeparator},
    {0x202A, 0x202E, CharacterKind::Direction},  // embeddings and overrides
    {0x2060, 0x2065, CharacterKind::ZeroWidth},  // word joiner, invisible operators
    {0x2066, 0x2069, CharacterKind::Direction},  // isolates
    {0x206A, 0x206F, CharacterKind::ZeroWidth},  // deprecated format characters
    {0xFEFF, 0xFEFF, CharacterKind::ZeroWidth},  // byte order mark
}};

/// 1 for the first byte of a character, 0 for a continuation byte.
std::uint8_t BeginsCharacter(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
}

}  // namespace

Utf8Character FirstCharacter(std::string_view text) {
  const std::size_t longest = std::min(text.size(), LongestCharacter);
  for (std::size_t bytes = 1; bytes <= longest; ++bytes) {
    // No proper prefix of a character is well-formed, so the shortest well-formed prefix is one character.
    if (!utf8::is_valid(text.substr(0, bytes))) continue;
    const char* at = text.data();
    return {.codePoint = utf8::unchecked::next(at), .bytes = bytes, .isWellFormed = true};
  }
  return {.codePoint = static_cast<unsigned char>(text.front()), .bytes = 1, .isWellFormed = false};
}

CharacterKind KindOf(char32_t codePoint) {
  if (codePoint >= U' ' && codePoint <= U'~')
    return CharacterKind::Visible;  // nearly every character of a text
  const auto* const range = std::ranges::lower_bound(NotVisible, codePoint, {}, &CharacterRange::last);
  return range != NotVisible.end() && range->first <= codePoint ? range->kind : CharacterKind::Visible;
}

std::size_t CharacterBoundary(std::string_view text, std::size_t position) {
  if (position >= text.size()) return text.size();
  for (std::size_t back = 1; back < LongestCharacter && back <= position; ++back) {
    if (FirstCharacter(text.substr(position - back)).bytes > back) return position - back;
  }
  return position;
}

std::string_view FirstCharacters(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  for (; count > 0 && end < text.size(); --count) end += FirstCharacter(text.substr(end)).bytes;
  return text.substr(0, end);
}

std::string_view WithoutLastCharacter(std::string_view text) {
  return text.empty() ? text : text.substr(0, CharacterBoundary(text, text.size() - 1));
}

std::size_t CountCharacters(std::string_view text) {
  // The compiler vectorises blocks of a fixed size, small enough for their count to fit into a byte.
  // Measured, utf8cpp's own functions take ten times as long.
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

std::string WellFormedUtf8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (;;) {
    const std::size_t invalid = utf8::find_invalid(text);
    result += text.substr(0, invalid);
    if (invalid == std::string_view::npos) return result;
    result += ReplacementCharacter;
    text.remove_prefix(invalid + 1);
  }
}

std::u16string Utf16FromUtf8(std::string_view text) {
  return utf8::utf8to16(text);
}

std::string Utf8FromLatin1(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (const char c : text) utf8::append(static_cast<unsigned char>(c), result);
  return result;
}

}  // namespace fieldpost
