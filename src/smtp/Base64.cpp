#include "smtp/Base64.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace fieldpost {
namespace {

constexpr std::string_view Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Holds two characters for each 12-bit value, which needs half the lookups of a table of single characters.
constexpr std::array<char, 2 * 4096> MakePairs() {
  std::array<char, 2 * 4096> pairs{};
  for (std::size_t value = 0; value < 4096; ++value) {
    pairs[2 * value] = Alphabet[value >> 6U];
    pairs[2 * value + 1] = Alphabet[value & 63U];
  }
  return pairs;
}

constexpr std::array<char, 2 * 4096> Pairs = MakePairs();

std::uint32_t ByteAt(const char* source) {
  return static_cast<unsigned char>(*source);
}

char* EncodeTriple(const char* source, char* target) {
  const std::uint32_t value = (ByteAt(source) << 16U) | (ByteAt(source + 1) << 8U) | ByteAt(source + 2);
  std::memcpy(target, &Pairs[2 * static_cast<std::size_t>(value >> 12U)], 2);
  std::memcpy(target + 2, &Pairs[2 * static_cast<std::size_t>(value & 0xFFFU)], 2);
  return target + 4;
}

char* EncodeRest(std::span<const char> rest, char* target) {
  if (rest.empty()) return target;
  std::array<char, 3> padded{};
  std::copy(rest.begin(), rest.end(), padded.begin());
  char* const end = EncodeTriple(padded.data(), target);
  std::fill(end - (3 - rest.size()), end, '=');
  return end;
}

char* Encode(std::span<const char> bytes, char* target) {
  const std::size_t whole = bytes.size() - bytes.size() % 3;
  for (std::size_t at = 0; at < whole; at += 3) target = EncodeTriple(bytes.data() + at, target);
  return EncodeRest(bytes.subspan(whole), target);
}

}  // namespace

std::string Base64(std::string_view bytes) {
  std::string text(Base64Size(bytes.size()), '\0');
  Encode(bytes, text.data());
  return text;
}

std::size_t EncodeBase64Lines(std::span<const char> bytes, char* target) {
  char* const begin = target;
  while (!bytes.empty()) {
    const std::size_t length = std::min(bytes.size(), Base64BytesPerLine);
    target = Encode(bytes.first(length), target);
    *target++ = '\r';
    *target++ = '\n';
    bytes = bytes.subspan(length);
  }
  return static_cast<std::size_t>(target - begin);
}

}  // namespace fieldpost
