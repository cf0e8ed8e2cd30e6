#include "common/ContentHash.h"

#include <fmt/format.h>
#include <xxhash.h>

namespace fieldpost {

ContentHash HashContent(std::string_view bytes) {
  const XXH128_hash_t hash = XXH3_128bits(bytes.data(), bytes.size());
  return {.high = hash.high64, .low = hash.low64};
}

std::string ToHex(const ContentHash& hash) {
  return fmt::format("{:016x}{:016x}", hash.high, hash.low);
}

}  // namespace fieldpost
