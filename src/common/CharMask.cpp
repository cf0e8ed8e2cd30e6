#include "common/CharMask.h"

namespace fieldpost {

std::string FormatCharMask(std::uint64_t number, std::string_view pattern) {
  std::string digits = std::to_string(number);
  std::string result(pattern);
  for (auto place = result.rbegin(); place != result.rend(); ++place) {
    if (*place != '@') continue;
    *place = digits.empty() ? ' ' : digits.back();
    if (!digits.empty()) digits.pop_back();
  }
  return digits + result;
}

}  // namespace fieldpost
