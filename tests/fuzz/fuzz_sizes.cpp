// Byte counts laid into patterns: an input is a number of eight bytes, and a pattern.
#include <algorithm>
#include <cstring>
#include <string>

#include "archive/ArchiveList.h"
#include "common/CharMask.h"
#include "common/Text.h"
#include "fuzz/Fuzz.h"

namespace fieldpost::fuzz {
namespace {

constexpr char Place = '@';

std::string Without(std::string text, char unwanted) {
  std::erase(text, unwanted);
  return text;
}

/// The characters that were laid into the places of a pattern, with those in front of it.
std::string LaidIn(std::string_view laidOut, std::string_view pattern) {
  const std::size_t front = laidOut.size() - pattern.size();
  std::string result(laidOut.substr(0, front));
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == Place) {
      result += laidOut[front + i];
    } else {
      Expect(laidOut[front + i] == pattern[i], "what is no place stays where it stands");
    }
  }
  return result;
}

void CheckPattern(std::uint64_t number, std::string_view pattern) {
  const std::string laidOut = FormatCharMask(number, pattern);
  Expect(laidOut.size() >= pattern.size(), "no place is lost");
  const std::string laidIn = LaidIn(laidOut, pattern);
  const std::string digits = std::to_string(number);
  Expect(laidIn.ends_with(digits), "the places hold the digits, to the right");
  const std::string_view blanks = std::string_view(laidIn).substr(0, laidIn.size() - digits.size());
  Expect(Trimmed(blanks).empty(), "a place without a digit is a blank");
  Expect(laidOut.size() == pattern.size() || blanks.empty(),
         "digits are in front only when all places are taken");
}

/// A byte count as people read it: without its blanks and its point it is the number.
void CheckPoint(std::uint64_t number, std::string_view pattern) {
  const std::string laidOut = FormatCharMask(number, pattern);
  Expect(laidOut.size() > 3 && laidOut[laidOut.size() - 4] == '.',
         "the point is before the last three places");
  Expect(std::count(laidOut.begin(), laidOut.end(), '.') == 1, "there is one point");
  Expect(Without(Without(laidOut, '.'), ' ') == std::to_string(number), "the rest is the number");
}

void CheckArchiveSize(std::uint64_t number) {
  const std::string text = SizeText(number);
  if (number <= 1000) {
    Expect(text == std::to_string(number), "small sizes stand plain");
  } else {
    Expect(text == FormatCharMask(number, "@@@@@@@.@@@"), "larger sizes have their point");
  }
}

}  // namespace
}  // namespace fieldpost::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace fieldpost::fuzz;
  std::uint64_t number = 0;
  std::memcpy(&number, data, std::min(size, sizeof number));
  CheckPattern(number, TextOf(data, size).substr(std::min(size, sizeof number)));
  CheckPoint(number, "@@@@@@@@.@@@");
  CheckPoint(number, "@@@@@@@.@@@");
  CheckArchiveSize(number);
  CheckArchiveSize(number % 2000);
  return 0;
}
