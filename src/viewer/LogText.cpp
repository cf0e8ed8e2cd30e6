#include "viewer/LogText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace fieldpost {
namespace {

bool IsContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::size_t FindByte(std::string_view text, char byte, std::size_t from, std::size_t end) {
  const void* const found = std::memchr(text.data() + from, byte, end - from);
  return found == nullptr ? end : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

struct Character {
  char32_t codePoint;
  std::size_t bytes;
  bool isBroken = false;  // a byte that is no character; `codePoint` is its value
};

/// Bytes of the character that begins with this byte; 0 when none can.
std::size_t LengthOf(unsigned char lead) {
  if (lead < 0x80U) return 1;
  if (lead >= 0xC2U && lead < 0xE0U) return 2;
  if (lead >= 0xE0U && lead < 0xF0U) return 3;
  if (lead >= 0xF0U && lead < 0xF5U) return 4;
  return 0;
}

bool IsOverlongOrSurrogate(char32_t codePoint, std::size_t bytes) {
  constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
  return codePoint < least[bytes] || (codePoint >= 0xD800 && codePoint < 0xE000) || codePoint > 0x10FFFF;
}

/// The first character of a text that is not empty; a byte that begins none counts as one character.
Character FirstOf(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = LengthOf(lead);
  if (length == 1) return {lead, 1};
  const Character broken{lead, 1, true};
  if (length == 0 || length > text.size()) return broken;
  char32_t codePoint = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsContinuation(text[i])) return broken;
    codePoint = (codePoint << 6U) | (static_cast<unsigned char>(text[i]) & 0x3FU);
  }
  if (IsOverlongOrSurrogate(codePoint, length)) return broken;
  return {codePoint, length};
}

bool IsBetween(char32_t value, char32_t first, char32_t last) {
  return value >= first && value <= last;
}

/// Characters that would show nothing, or turn the order of what follows.
bool IsInvisible(char32_t codePoint) {
  return (codePoint < 0x20 && codePoint != '\t') || IsBetween(codePoint, 0x7F, 0x9F) ||
         IsBetween(codePoint, 0x200B, 0x200F) || IsBetween(codePoint, 0x2028, 0x202E) ||
         IsBetween(codePoint, 0x2060, 0x206F) || codePoint == 0xFEFF;
}

/// What stands for a character on the screen.
std::u16string Shown(const Character& character) {
  const char32_t codePoint = character.codePoint;
  if (character.isBroken || IsInvisible(codePoint)) {
    const auto number = static_cast<unsigned>(codePoint);
    const std::string name =
        character.bytes == 1 ? fmt::format("\\x{:02X}", number) : fmt::format("\\u{:04X}", number);
    return {name.begin(), name.end()};
  }
  if (codePoint < 0x10000) return {static_cast<char16_t>(codePoint)};
  return {static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10U)),
          static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FFU))};
}

}  // namespace

std::size_t LogRow::UnitAt(std::size_t byteInRow) const {
  const auto found = std::lower_bound(offsets.begin(), offsets.end(), byteInRow);
  return std::min(static_cast<std::size_t>(found - offsets.begin()), text.size());
}

LogText::LogText(std::string bytes) : bytes_(std::move(bytes)) {
  constexpr std::size_t typicalLineBytes = 64;
  starts_.reserve(bytes_.size() / typicalLineBytes + 1);
  std::size_t begin = 0;
  while (begin < bytes_.size()) {
    const std::size_t lineFeed = FindByte(bytes_, '\n', begin, bytes_.size());
    for (std::size_t end = FindByte(bytes_, '\r', begin, lineFeed); end < lineFeed;
         end = FindByte(bytes_, '\r', begin, lineFeed)) {
      if (end + 1 == lineFeed && lineFeed < bytes_.size()) break;  // CR LF
      AddLine(begin, end);
      begin = end + 1;
    }
    if (lineFeed == bytes_.size()) break;
    AddLine(begin, lineFeed);
    begin = lineFeed + 1;
  }
  AddLine(begin, bytes_.size());
}

void LogText::AddLine(std::size_t begin, std::size_t end) {
  starts_.push_back(static_cast<std::uint32_t>(begin));
  while (end - begin > MaxRowBytes) {
    begin += MaxRowBytes;
    for (int i = 0; i < 3 && IsContinuation(bytes_[begin]); ++i) --begin;
    starts_.push_back(static_cast<std::uint32_t>(begin));
  }
}

std::size_t LogText::RowEnd(std::size_t row) const {
  const std::size_t start = starts_[row];
  std::size_t end = row + 1 < starts_.size() ? starts_[row + 1] : bytes_.size();
  if (end > start && bytes_[end - 1] == '\n') {
    --end;
    if (end > start && bytes_[end - 1] == '\r') --end;
  } else if (end > start && bytes_[end - 1] == '\r') {
    --end;
  }
  return end;
}

std::size_t LogText::RowAt(std::size_t position) const {
  const auto after = std::upper_bound(starts_.begin(), starts_.end(), position);
  return static_cast<std::size_t>(after - starts_.begin()) - 1;
}

LogRow LogText::Row(std::size_t row) const {
  const std::size_t start = RowStart(row);
  const std::string_view bytes = Bytes().substr(start, RowEnd(row) - start);
  LogRow result;
  result.text.reserve(bytes.size());
  result.offsets.reserve(bytes.size() + 1);
  for (std::size_t i = 0; i < bytes.size();) {
    const Character character = FirstOf(bytes.substr(i));
    const std::u16string shown = Shown(character);
    result.text += shown;
    result.offsets.insert(result.offsets.end(), shown.size(), static_cast<std::uint32_t>(i));
    i += character.bytes;
  }
  result.offsets.push_back(static_cast<std::uint32_t>(bytes.size()));
  return result;
}

std::size_t LogText::LongestRow() const {
  std::size_t longest = 0;
  std::size_t most = 0;
  for (std::size_t row = 0; row < Rows(); ++row) {
    const std::size_t end = row + 1 < Rows() ? starts_[row + 1] : bytes_.size();
    const std::size_t bytes = end - starts_[row];
    if (bytes <= most) continue;
    most = bytes;
    longest = row;
  }
  return longest;
}

}  // namespace fieldpost
