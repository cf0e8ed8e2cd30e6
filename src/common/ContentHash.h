// What tells one content from another.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace fieldpost {

/// The 128-bit XXH3 hash of some bytes. It recognises a content seen before; it is no protection against
/// somebody who makes two contents alike on purpose.
struct ContentHash {
  std::uint64_t high = 0;
  std::uint64_t low = 0;

  bool operator==(const ContentHash&) const = default;
};

ContentHash HashContent(std::string_view bytes);

/// 32 lower-case hexadecimal digits.
std::string ToHex(const ContentHash& hash);

}  // namespace fieldpost
