// Hashes that identify contents.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct XXH3_state_s;  // xxHash's own name

namespace fieldpost {

/// A 128-bit XXH3 hash. It recognises a content seen before. It is not cryptographic: it gives no protection
/// against contents that were constructed to have the same hash.
struct ContentHash {
  std::uint64_t high = 0;
  std::uint64_t low = 0;

  bool operator==(const ContentHash&) const = default;
};

/// Returns the hash of some bytes.
ContentHash HashContent(std::string_view bytes);

/// Returns a hash as 32 lower-case hexadecimal digits.
std::string ToHex(const ContentHash& hash);

/// Computes the hash of a content that is read in blocks.
class ContentHasher {
 public:
  ContentHasher();

  /// Adds the next block.
  void Add(std::string_view bytes);

  /// Returns the hash of all blocks added so far.
  [[nodiscard]] ContentHash Hash() const;

 private:
  struct Free {
    void operator()(XXH3_state_s* state) const;
  };
  std::unique_ptr<XXH3_state_s, Free> state_;
};

}  // namespace fieldpost
