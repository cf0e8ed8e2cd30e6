// Helpers of all fuzz targets: the input as text, and the check of properties.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

/// The entry point of a target: accepts any bytes, and aborts when a property does not hold.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fieldpost::fuzz {

/// Returns the input as text.
inline std::string_view TextOf(const std::uint8_t* data, std::size_t size) {
  return size == 0 ? std::string_view() : std::string_view(reinterpret_cast<const char*>(data), size);
}

/// Aborts unless `holds`, so that the fuzzer keeps the input.
inline void Expect(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "This does not hold: %s\n", property);
  std::abort();
}

/// Removes the first line from `text`, and returns it without its line feed.
inline std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

/// Returns the lines of a text, at most `most`.
inline std::vector<std::string_view> Lines(std::string_view text, std::size_t most) {
  std::vector<std::string_view> lines;
  while (!text.empty() && lines.size() < most) lines.push_back(TakeLine(text));
  return lines;
}

}  // namespace fieldpost::fuzz
