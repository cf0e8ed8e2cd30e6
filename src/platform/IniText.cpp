#include "platform/IniText.h"

#include <algorithm>
#include <utility>

#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr std::string_view Utf8ByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view LineBreaks = "\r\n";
constexpr std::string_view Unstorable("\r\n\0", 3);

/// Returns the name in a line that begins a section; empty for any other line.
std::optional<std::string_view> SectionName(std::string_view line) {
  const std::string_view text = Trimmed(line);
  const std::size_t end = text.find(']');
  if (!text.starts_with('[') || end == std::string_view::npos) return std::nullopt;
  return Trimmed(text.substr(1, end - 1));
}

/// A line "key=value": the key, and everything after the "=".
struct KeyLine {
  std::string_view key;
  std::string_view rest;
};

std::optional<KeyLine> ParseKeyLine(std::string_view line) {
  const std::string_view text = Trimmed(line);
  if (text.starts_with(';') || text.starts_with('[')) return std::nullopt;
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const std::string_view key = Trimmed(line.substr(0, equals));
  if (key.empty()) return std::nullopt;
  return KeyLine{key, line.substr(equals + 1)};
}

/// Returns a written value without the blanks and one pair of double quotes around it.
std::string_view Unquoted(std::string_view written) {
  const std::string_view text = Trimmed(written);
  const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
  return quoted ? text.substr(1, text.size() - 2) : text;
}

/// Returns a value as it must be written to be read back.
std::string Quoted(std::string_view value) {
  if (Unquoted(value) == value) return std::string(value);
  return std::string("\"").append(value).append("\"");
}

/// Returns a line with another value. The blanks after its "=" stay.
std::string WithValue(std::string_view line, std::string_view value) {
  const std::string_view rest = ParseKeyLine(line)->rest;
  const std::size_t before = line.size() - rest.size();
  const std::size_t blanks = Trimmed(rest).empty() ? 0 : rest.find_first_not_of(" \t");
  return std::string(line.substr(0, before + blanks)).append(Quoted(value));
}

}  // namespace

IniText::IniText(std::string bytes) : bytes_(std::move(bytes)) {
  std::string_view rest = bytes_;
  if (rest.starts_with(Utf8ByteOrderMark)) {
    byteOrderMark_ = rest.substr(0, Utf8ByteOrderMark.size());
    rest.remove_prefix(Utf8ByteOrderMark.size());
  }
  while (!rest.empty()) {
    const std::size_t length = std::min(rest.find_first_of(LineBreaks), rest.size());
    const std::string_view after = rest.substr(length);
    const std::size_t end = after.starts_with("\r\n") ? 2 : std::min<std::size_t>(after.size(), 1);
    lines_.push_back({rest.substr(0, length), after.substr(0, end)});
    rest.remove_prefix(length + end);
  }
}

std::optional<std::string> IniText::Value(std::string_view section, std::string_view key) const {
  const std::optional<Range> range = FindSection(section);
  if (!range) return std::nullopt;
  const std::optional<std::size_t> line = FindKey(*range, key);
  if (!line) return std::nullopt;
  return std::string(Unquoted(ParseKeyLine(lines_[*line].text)->rest));
}

void IniText::SetValue(std::string_view section, std::string_view key, std::string_view value) {
  if (Value(section, key).value_or("") == value) return;
  changed_ = true;
  std::optional<Range> range = FindSection(section);
  if (!range) {
    Insert(lines_.size(), std::string("[").append(section).append("]"));
    range = Range{lines_.size(), lines_.size()};
  }
  if (const std::optional<std::size_t> line = FindKey(*range, key)) {
    lines_[*line].text = Keep(WithValue(lines_[*line].text, value));
    return;
  }
  Insert(LineForNewKey(*range), std::string(key).append("=").append(Quoted(value)));
}

std::string IniText::Bytes() const {
  std::string result(byteOrderMark_);
  for (const Line& line : lines_) result.append(line.text).append(line.end);
  return result;
}

bool IniText::IsValidValue(std::string_view value) {
  return value.find_first_of(Unstorable) == std::string_view::npos;
}

bool IniText::IsValidKey(std::string_view key) {
  const bool isOtherLine = key.starts_with(';') || key.starts_with('[');
  return !key.empty() && Trimmed(key) == key && IsValidValue(key) && !isOtherLine &&
         key.find('=') == std::string_view::npos;
}

bool IniText::IsValidSection(std::string_view section) {
  return !section.empty() && Trimmed(section) == section && IsValidValue(section) &&
         section.find(']') == std::string_view::npos;
}

std::optional<IniText::Range> IniText::FindSection(std::string_view section) const {
  const auto begins = [&](const Line& line) {
    const std::optional<std::string_view> name = SectionName(line.text);
    return name && EqualNoCase(*name, section);
  };
  const auto header = std::find_if(lines_.begin(), lines_.end(), begins);
  if (header == lines_.end()) return std::nullopt;
  const auto next = std::find_if(header + 1, lines_.end(),
                                 [](const Line& line) { return SectionName(line.text).has_value(); });
  return Range{static_cast<std::size_t>(header - lines_.begin()) + 1,
               static_cast<std::size_t>(next - lines_.begin())};
}

std::optional<std::size_t> IniText::FindKey(const Range& range, std::string_view key) const {
  for (std::size_t at = range.begin; at < range.end; ++at) {
    const std::optional<KeyLine> line = ParseKeyLine(lines_[at].text);
    if (line && EqualNoCase(line->key, key)) return at;
  }
  return std::nullopt;
}

/// After the last key, so that comments and empty lines before the next section stay there.
std::size_t IniText::LineForNewKey(const Range& range) const {
  for (std::size_t at = range.end; at > range.begin; --at) {
    if (ParseKeyLine(lines_[at - 1].text)) return at;
  }
  return range.begin;
}

/// Inserts a line. It gets the line end of the line above it, and that line gets one where it had none.
void IniText::Insert(std::size_t line, std::string text) {
  const auto hasEnd = [](const Line& one) { return !one.end.empty(); };
  const auto first = std::find_if(lines_.begin(), lines_.end(), hasEnd);
  std::string_view end = first == lines_.end() ? "\n" : first->end;
  if (line > 0 && hasEnd(lines_[line - 1])) end = lines_[line - 1].end;
  if (line > 0) lines_[line - 1].end = end;
  lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(line), {Keep(std::move(text)), end});
}

std::string_view IniText::Keep(std::string text) {
  return kept_.emplace_back(std::move(text));
}

}  // namespace fieldpost
