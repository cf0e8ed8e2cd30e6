// Fuzz target of DocumentNames. An input is a line with a partner ID, a line whose bytes define a time, and
// then the names in a folder, one per line.
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "common/DocumentNames.h"
#include "common/Text.h"
#include "fuzz/Fuzz.h"

namespace fieldpost::fuzz {
namespace {

constexpr std::size_t MostNames = 200;

/// Returns a time that the bytes of a text define.
LocalTime TimeOf(std::string_view text) {
  const auto byte = [text](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
  };
  LocalTime time;
  time.year = 1900 + byte(0);
  time.month = 1 + byte(1) % 12;
  time.day = 1 + byte(2) % 31;
  time.hour = byte(3) % 24;
  return time;
}

void CheckBuilt(std::string_view stem) {
  const auto isPlain = [](char c) { return c == '.' || !LettersAndDigits({&c, 1}).empty(); };
  Expect(std::all_of(stem.begin(), stem.end(), isPlain), "a stem consists of letters, digits and dots");
  for (int number = 1; number <= 99; ++number) {
    const std::vector<std::string> names{DocumentName(stem, number)};
    Expect(NextDocumentNumber(stem, names) == (number == 99 ? 1 : number + 1),
           "the number of a name is read back");
    const std::vector<std::string> lower{ToLowerAscii(names.front())};
    Expect(NextDocumentNumber(stem, lower) == NextDocumentNumber(stem, names), "case is ignored");
  }
  const std::vector<std::string> zip{ZipName(stem)};
  Expect(NextDocumentNumber(stem, zip) == 1, "a zip is not a document");
}

/// Checks the numbers of documents that are added to a folder: none has the name of an existing one, except
/// number 99.
void CheckFolder(std::string_view stem, std::vector<std::string> names) {
  for (int step = 0; step < 3; ++step) {
    const int next = NextDocumentNumber(stem, names);
    Expect(next >= 1 && next <= 99, "numbers are 1 to 99");
    std::vector<std::string> reversed(names.rbegin(), names.rend());
    Expect(NextDocumentNumber(stem, reversed) == next, "the order of the names is ignored");
    const std::string name = DocumentName(stem, next);
    const auto isTaken = [&name](const std::string& other) { return EqualNoCase(other, name); };
    Expect(next == 99 || std::none_of(names.begin(), names.end(), isTaken), "no name is used twice");
    names.push_back(name);
  }
}

}  // namespace
}  // namespace fieldpost::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace fieldpost;
  using namespace fieldpost::fuzz;
  std::string_view input = TextOf(data, size);
  const std::string_view partner = TakeLine(input);
  const LocalTime time = TimeOf(TakeLine(input));
  const std::vector<std::string_view> lines = Lines(input, MostNames);
  for (const std::string_view prefix : {FaultlogPrefix, PpcPrefix}) {
    const std::string stem = DocumentStem(prefix, partner, time);
    CheckBuilt(stem);
    CheckFolder(stem, {lines.begin(), lines.end()});
    std::vector<std::string> ours;
    for (const std::string_view line : lines) ours.push_back(stem + std::string(line) + ".xml");
    CheckFolder(stem, ours);
  }
  return 0;
}
