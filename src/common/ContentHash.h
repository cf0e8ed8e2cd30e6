// What tells one content from another.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct XXH3_state_s;  // xxHash's own name

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

/// The hash of a content that comes in pieces.
class ContentHasher {
 public:
  ContentHasher();

  void Add(std::string_view bytes);

  /// The hash of all that was added so far.
  [[nodiscard]] ContentHash Hash() const;

 private:
  struct Free {
    void operator()(XXH3_state_s* state) const;
  };
  std::unique_ptr<XXH3_state_s, Free> state_;
};

}  // namespace fieldpost
