// Base64, as a text and as the lines of an attachment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace fieldpost {

/// Bytes of a file that make one line of 76 characters (RFC 2045, section 6.8).
inline constexpr std::size_t Base64BytesPerLine = 57;

/// One line of base64 with its CR LF.
inline constexpr std::size_t Base64LineSize = 78;

/// Length of the base64 text of `bytes` bytes, without line ends.
constexpr std::uint64_t Base64Size(std::uint64_t bytes) {
  return (bytes + 2) / 3 * 4;
}

/// Length of what EncodeBase64Lines writes for `bytes` bytes.
constexpr std::uint64_t Base64LinesSize(std::uint64_t bytes) {
  const std::uint64_t lines = (bytes + Base64BytesPerLine - 1) / Base64BytesPerLine;
  return Base64Size(bytes) + 2 * lines;
}

/// The base64 text of `bytes`, padded, without line ends.
std::string Base64(std::string_view bytes);

/// Writes `bytes` as base64 lines, each ended by CR LF, and returns how long they are. `target` has room for
/// Base64LinesSize(bytes.size()) characters. What is encoded in several calls must be cut at multiples of
/// Base64BytesPerLine.
std::size_t EncodeBase64Lines(std::span<const char> bytes, char* target);

}  // namespace fieldpost
