#include "viewer/LogText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "common/Utf8.h"

namespace fieldpost {
namespace {

std::size_t FindByte(std::string_view text, char byte, std::size_t from, std::size_t end) {
  const void* const found = std::memchr(text.data() + from, byte, end - from);
  return found == nullptr ? end : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

bool IsShown(const Utf8Character& character) {
  if (!character.isWellFormed) return false;
  return character.codePoint == '\t' || KindOf(character.codePoint) == CharacterKind::Visible;
}

/// Returns how a character, encoded as `bytes`, is displayed: invisible and malformed ones as escape
/// sequences.
std::u16string Shown(const Utf8Character& character, std::string_view bytes) {
  if (IsShown(character)) return Utf16FromUtf8(bytes);
  const auto number = static_cast<unsigned>(character.codePoint);
  const std::string name =
      character.bytes == 1 ? fmt::format("\\x{:02X}", number) : fmt::format("\\u{:04X}", number);
  return {name.begin(), name.end()};
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
    begin = CharacterBoundary(bytes_, begin + MaxRowBytes);
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
    const Utf8Character character = FirstCharacter(bytes.substr(i));
    const std::u16string shown = Shown(character, bytes.substr(i, character.bytes));
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
