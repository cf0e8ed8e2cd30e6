#include "common/SealedFields.h"

#include <charconv>

#include "common/PathText.h"

namespace fieldpost {
namespace {

constexpr std::size_t HashLength = 32;

std::optional<std::size_t> NumberOf(std::string_view digits) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return number;
}

std::optional<ContentHash> HashOf(std::string_view hex) {
  ContentHash hash;
  if (hex.size() != HashLength) return std::nullopt;
  const char* const middle = hex.data() + HashLength / 2;
  const bool whole =
      std::from_chars(hex.data(), middle, hash.high, 16).ptr == middle &&
      std::from_chars(middle, hex.data() + HashLength, hash.low, 16).ptr == hex.data() + HashLength;
  if (!whole) return std::nullopt;
  return hash;
}

}  // namespace

SealedFieldWriter::SealedFieldWriter(std::string_view title) : bytes_(title) {
  bytes_ += '\n';
}

void SealedFieldWriter::Add(std::string_view field) {
  bytes_.append(std::to_string(field.size())).append(":").append(field) += '\n';
}

void SealedFieldWriter::AddPath(const std::filesystem::path& path) {
  Add(Utf8FromPath(path));
}

void SealedFieldWriter::AddNumber(std::size_t number) {
  Add(std::to_string(number));
}

void SealedFieldWriter::AddHash(const ContentHash& hash) {
  Add(ToHex(hash));
}

std::string SealedFieldWriter::Finish() const {
  return bytes_ + ToHex(HashContent(bytes_));
}

std::optional<SealedFieldReader> SealedFieldReader::Open(std::string_view title, std::string_view bytes) {
  const std::size_t head = title.size() + 1;
  if (bytes.size() < head + HashLength || !bytes.starts_with(title) || bytes[title.size()] != '\n') {
    return std::nullopt;
  }
  const std::string_view sealed = bytes.substr(0, bytes.size() - HashLength);
  if (ToHex(HashContent(sealed)) != bytes.substr(sealed.size())) return std::nullopt;
  return SealedFieldReader(sealed.substr(head));
}

std::optional<std::string_view> SealedFieldReader::Next() {
  const std::size_t colon = rest_.find(':');
  if (colon == std::string_view::npos) return Fail();
  const std::optional<std::size_t> length = NumberOf(rest_.substr(0, colon));
  const std::string_view after = rest_.substr(colon + 1);
  if (!length || *length >= after.size()) return Fail();
  rest_ = after.substr(*length + 1);
  return after.substr(0, *length);
}

std::optional<std::filesystem::path> SealedFieldReader::NextPath() {
  const std::optional<std::string_view> field = Next();
  if (!field) return std::nullopt;
  return PathFromUtf8(*field);
}

std::optional<std::size_t> SealedFieldReader::NextNumber() {
  const std::optional<std::string_view> field = Next();
  const std::optional<std::size_t> number = field ? NumberOf(*field) : std::nullopt;
  if (!number) Fail();
  return number;
}

std::optional<ContentHash> SealedFieldReader::NextHash() {
  const std::optional<std::string_view> field = Next();
  const std::optional<ContentHash> hash = field ? HashOf(*field) : std::nullopt;
  if (!hash) Fail();
  return hash;
}

std::optional<std::string_view> SealedFieldReader::Fail() {
  rest_ = {};
  wellFormed_ = false;
  return std::nullopt;
}

}  // namespace fieldpost
