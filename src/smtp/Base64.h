// Base64 (RFC 2045, section 6.8), as one text and as lines.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace fieldpost {

/// The number of bytes that one line of 76 characters encodes, the longest line that mail allows.
inline constexpr std::size_t Base64BytesPerLine = 57;

/// The number of characters of a full line, including CR LF.
inline constexpr std::size_t Base64LineSize = 78;

/// Returns the number of characters that encode `bytes` bytes, without line ends.
constexpr std::uint64_t Base64Size(std::uint64_t bytes) {
  return (bytes + 2) / 3 * 4;
}

/// Returns the number of characters that EncodeBase64Lines writes for `bytes` bytes.
constexpr std::uint64_t Base64LinesSize(std::uint64_t bytes) {
  const std::uint64_t lines = (bytes + Base64BytesPerLine - 1) / Base64BytesPerLine;
  return Base64Size(bytes) + 2 * lines;
}

/// Returns the base64 text of `bytes`, padded, without line ends.
std::string Base64(std::string_view bytes);

/// Writes `bytes` to `target` as base64 lines, each ended by CR LF, and returns the number of characters
/// written. `target` has room for Base64LinesSize(bytes.size()) characters. Data encoded in several calls is
/// split at multiples of Base64BytesPerLine.
std::size_t EncodeBase64Lines(std::span<const char> bytes, char* target);

}  // namespace fieldpost
