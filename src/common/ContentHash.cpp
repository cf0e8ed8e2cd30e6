#include "common/ContentHash.h"

#include <fmt/format.h>
#include <xxhash.h>

#include <new>

namespace fieldpost {
namespace {

ContentHash FromXxHash(const XXH128_hash_t& hash) {
  return {.high = hash.high64, .low = hash.low64};
}

}  // namespace

ContentHash HashContent(std::string_view bytes) {
  return FromXxHash(XXH3_128bits(bytes.data(), bytes.size()));
}

std::string ToHex(const ContentHash& hash) {
  return fmt::format("{:016x}{:016x}", hash.high, hash.low);
}

void ContentHasher::Free::operator()(XXH3_state_s* state) const {
  XXH3_freeState(state);
}

ContentHasher::ContentHasher() : state_(XXH3_createState()) {
  if (!state_) throw std::bad_alloc();
  XXH3_128bits_reset(state_.get());
}

void ContentHasher::Add(std::string_view bytes) {
  XXH3_128bits_update(state_.get(), bytes.data(), bytes.size());
}

ContentHash ContentHasher::Hash() const {
  return FromXxHash(XXH3_128bits_digest(state_.get()));
}

}  // namespace fieldpost
