#include "common/Text.h"

#include <fmt/format.h>

#include <algorithm>

#include "common/Utf8.h"

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

/// Whether EscapeControls keeps a character.
bool IsShown(const Utf8Character& character) {
  return character.isWellFormed && KindOf(character.codePoint) == CharacterKind::Visible;
}

/// Whether a character could forge a line or turn the direction of the text around it.
bool ChangesText(const Utf8Character& character) {
  if (!character.isWellFormed) return false;
  const CharacterKind kind = KindOf(character.codePoint);
  return kind != CharacterKind::Visible && kind != CharacterKind::ZeroWidth;
}

}  // namespace

bool IsControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

bool HoldsControl(std::string_view text) {
  while (!text.empty()) {
    const Utf8Character character = FirstCharacter(text);
    if (ChangesText(character)) return true;
    text.remove_prefix(character.bytes);
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

std::strong_ordering CompareNoCase(std::string_view left, std::string_view right) {
  return std::lexicographical_compare_three_way(
      left.begin(), left.end(), right.begin(), right.end(), [](char a, char b) {
        return static_cast<unsigned char>(LowerAscii(a)) <=> static_cast<unsigned char>(LowerAscii(b));
      });
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
    const Utf8Character character = FirstCharacter(text);
    const std::string_view bytes = text.substr(0, character.bytes);
    text.remove_prefix(character.bytes);
    if (IsShown(character)) {
      result += bytes;
      continue;
    }
    for (const char c : bytes) result += fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
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

}  // namespace fieldpost
