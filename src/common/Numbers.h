// Numbers that stand in settings as texts.
#pragma once

#include <charconv>
#include <cstdint>
#include <string_view>

#include "common/Text.h"

namespace fieldpost {

/// The whole number that a text holds, or `fallback` when it holds none or one outside `least` ... `most`.
inline std::int32_t NumberOr(std::string_view text, std::int32_t least, std::int32_t most,
                             std::int32_t fallback) {
  const std::string_view digits = Trimmed(text);
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) return fallback;
  return number >= least && number <= most ? number : fallback;
}

}  // namespace fieldpost
