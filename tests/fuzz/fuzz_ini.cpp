// Fuzz target of IniText. An input is three lines with a section, a key and a value, and then the file.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "common/Text.h"
#include "fuzz/Fuzz.h"
#include "platform/IniText.h"

namespace fieldpost::fuzz {
namespace {

constexpr std::size_t MostLines = 40;

struct Change {
  std::string_view section;
  std::string_view key;
  std::string_view value;
};

bool IsValid(const Change& change) {
  return IniText::IsValidSection(change.section) && IniText::IsValidKey(change.key) &&
         IniText::IsValidValue(change.value);
}

/// Returns possible pairs of section and key of a text: the texts in brackets, and the texts before "=".
std::vector<std::pair<std::string, std::string>> Names(std::string_view bytes, const Change& change) {
  std::vector<std::string> sections{std::string(change.section)};
  std::vector<std::string> keys{std::string(change.key)};
  for (const std::string_view line : Lines(bytes, MostLines)) {
    const std::string_view text = Trimmed(line);
    if (text.starts_with('[')) sections.emplace_back(Trimmed(text.substr(1, text.find(']') - 1)));
    keys.emplace_back(Trimmed(text.substr(0, text.find('='))));
  }
  std::vector<std::pair<std::string, std::string>> names;
  for (const std::string& section : sections) {
    for (const std::string& key : keys) names.emplace_back(section, key);
  }
  return names;
}

/// The parts in which two texts differ.
struct Difference {
  std::string_view before;
  std::string_view after;
};

Difference Between(std::string_view before, std::string_view after) {
  const std::size_t shorter = std::min(before.size(), after.size());
  const auto front = static_cast<std::size_t>(
      std::mismatch(before.begin(), before.begin() + static_cast<std::ptrdiff_t>(shorter), after.begin())
          .first -
      before.begin());
  std::size_t back = 0;
  while (back < shorter - front && before[before.size() - 1 - back] == after[after.size() - 1 - back]) ++back;
  return {before.substr(front, before.size() - front - back),
          after.substr(front, after.size() - front - back)};
}

void CheckBytes(std::string_view before, std::string_view after, const Change& change, bool hadKey) {
  const Difference difference = Between(before, after);
  if (hadKey) {
    Expect(difference.before.find_first_of("\r\n") == std::string_view::npos, "one line changes");
    Expect(difference.after.size() <= change.value.size() + 2, "only the value changes");
    return;
  }
  Expect(difference.before.empty(), "adding a key removes nothing");
  constexpr std::size_t signs = 2 + 1 + 2 + 3 * 2;  // brackets, "=", quotes, line ends
  Expect(difference.after.size() <= change.section.size() + change.key.size() + change.value.size() + signs,
         "only the key, its value and its section are added");
}

void CheckChange(std::string_view bytes, const Change& change) {
  const IniText before{std::string(bytes)};
  IniText text{std::string(bytes)};
  text.SetValue(change.section, change.key, change.value);
  const std::string after = text.Bytes();
  Expect(text.Changed() == (after != bytes), "Changed() is right");
  Expect(text.Value(change.section, change.key).value_or("") == change.value, "the value is returned");
  const IniText again{after};
  Expect(again.Value(change.section, change.key).value_or("") == change.value, "the value is read back");
  for (const auto& [section, key] : Names(bytes, change)) {
    if (EqualNoCase(section, change.section) && EqualNoCase(key, change.key)) continue;
    Expect(again.Value(section, key) == before.Value(section, key), "no other value changes");
  }
  CheckBytes(bytes, after, change, before.Value(change.section, change.key).has_value());
  IniText twice{after};
  twice.SetValue(change.section, change.key, change.value);
  Expect(!twice.Changed(), "an unchanged value is not written");
}

}  // namespace
}  // namespace fieldpost::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace fieldpost;
  using namespace fieldpost::fuzz;
  std::string_view bytes = TextOf(data, size);
  const std::string_view section = TakeLine(bytes);
  const std::string_view key = TakeLine(bytes);
  const std::string_view value = TakeLine(bytes);
  Expect(IniText(std::string(bytes)).Bytes() == bytes, "reading does not change the text");
  static_cast<void>(IniText(std::string(bytes)).Value(section, key));
  const Change change{.section = section, .key = key, .value = value};
  if (IsValid(change)) CheckChange(bytes, change);
  return 0;
}
