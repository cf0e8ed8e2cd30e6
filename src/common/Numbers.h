// Numbers in the texts of settings.
#pragma once

#include <charconv>
#include <cstdint>
#include <string_view>

#include "common/Text.h"

namespace fieldpost {

/// Returns the decimal integer that a text consists of, ignoring blanks at its ends; `fallback` when the text
/// is not an integer or not within `least` ... `most`.
inline std::int32_t NumberOr(std::string_view text, std::int32_t least, std::int32_t most,
                             std::int32_t fallback) {
  const std::string_view digits = Trimmed(text);
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) return fallback;
  return number >= least && number <= most ? number : fallback;
}

}  // namespace fieldpost
