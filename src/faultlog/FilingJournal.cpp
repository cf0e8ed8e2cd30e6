#include "faultlog/FilingJournal.h"

#include <charconv>
#include <cstdint>

#include "common/PathText.h"

// The form: a title line; for each field its length in decimal, ":", its bytes and a line feed; last the hash
// of all that. Names may hold any byte, so nothing but their length says where they end.

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view Title = "Fieldpost filing journal 2\n";
constexpr std::size_t HashLength = 32;

class FieldWriter {
 public:
  void Add(std::string_view field) {
    bytes_.append(std::to_string(field.size())).append(":").append(field) += '\n';
  }
  void AddPath(const fs::path& path) { Add(Utf8FromPath(path)); }
  void AddNumber(std::size_t number) { Add(std::to_string(number)); }

  [[nodiscard]] std::string Finish() const { return bytes_ + ToHex(HashContent(bytes_)); }

 private:
  std::string bytes_{Title};
};

/// Reads field after field; after the first that is not right, all are missing.
class FieldReader {
 public:
  explicit FieldReader(std::string_view bytes) : rest_(bytes) {}

  std::optional<std::string_view> Next() {
    const std::optional<std::size_t> length = Number(rest_.substr(0, rest_.find(':')));
    const std::size_t start = rest_.find(':') + 1;
    if (!length || *length >= rest_.size() - start) return Fail();
    const std::string_view field = rest_.substr(start, *length);
    rest_.remove_prefix(start + *length + 1);
    return field;
  }

  std::optional<fs::path> NextPath() {
    const std::optional<std::string_view> field = Next();
    if (!field) return std::nullopt;
    return PathFromUtf8(*field);
  }

  std::optional<std::size_t> NextNumber() {
    const std::optional<std::string_view> field = Next();
    return field ? Number(*field) : std::nullopt;
  }

  [[nodiscard]] bool AtEnd() const { return rest_.empty(); }

 private:
  static std::optional<std::size_t> Number(std::string_view digits) {
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return number;
  }

  std::optional<std::string_view> Fail() {
    rest_ = {};
    return std::nullopt;
  }

  std::string_view rest_;
};

std::optional<ContentHash> HashFromHex(std::string_view hex) {
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

std::string FilingJournal::ToBytes() const {
  FieldWriter writer;
  writer.AddPath(document);
  writer.AddNumber(displaced ? 1 : 0);
  if (displaced) {
    writer.AddPath(displaced->from);
    writer.AddPath(displaced->to);
  }
  writer.AddNumber(staged.size());
  for (const Staged& file : staged) {
    writer.AddPath(file.temporary);
    writer.AddPath(file.target);
  }
  writer.AddNumber(sources.size());
  for (const Source& source : sources) {
    writer.AddPath(source.path);
    writer.Add(ToHex(source.content));
  }
  return writer.Finish();
}

std::optional<FilingJournal> FilingJournal::FromBytes(std::string_view bytes) {
  if (bytes.size() < Title.size() + HashLength || !bytes.starts_with(Title)) return std::nullopt;
  const std::string_view fields = bytes.substr(0, bytes.size() - HashLength);
  if (ToHex(HashContent(fields)) != bytes.substr(fields.size())) return std::nullopt;

  FieldReader reader(fields.substr(Title.size()));
  FilingJournal journal;
  journal.document = reader.NextPath().value_or(fs::path());
  if (reader.NextNumber() == 1) {
    std::optional<fs::path> from = reader.NextPath();
    std::optional<fs::path> to = reader.NextPath();
    if (!from || !to) return std::nullopt;
    journal.displaced = Displaced{.from = std::move(*from), .to = std::move(*to)};
  }
  for (std::size_t left = reader.NextNumber().value_or(0); left > 0; --left) {
    std::optional<fs::path> temporary = reader.NextPath();
    std::optional<fs::path> target = reader.NextPath();
    if (!temporary || !target) return std::nullopt;
    journal.staged.push_back({.temporary = std::move(*temporary), .target = std::move(*target)});
  }
  for (std::size_t left = reader.NextNumber().value_or(0); left > 0; --left) {
    std::optional<fs::path> path = reader.NextPath();
    const std::optional<ContentHash> content = HashFromHex(reader.Next().value_or(""));
    if (!path || !content) return std::nullopt;
    journal.sources.push_back({.path = std::move(*path), .content = *content});
  }
  if (!reader.AtEnd()) return std::nullopt;
  return journal;
}

}  // namespace fieldpost
