#include "shell/SingleInstanceGuard.h"

namespace fieldpost {
namespace {

/// The product name without its last letter. It is compared with whole titles, not with their beginnings.
constexpr std::string_view FixedTitle = "Fieldpos";

/// The window of the caller and one of another copy.
constexpr int MatchesOfTwoCopies = 2;

}  // namespace

bool SingleInstanceGuard::IsAlreadyOpen(std::uint64_t ownWindow, std::string_view caption) {
  int matches = 0;
  std::uint16_t examined = 0;
  for (const TopLevelWindow& window : windows_.OnScreenOf(ownWindow)) {
    if (!HasBorderStyle(window) || window.title.empty()) continue;
    if (window.title != caption && window.title != FixedTitle) {
      ++examined;
      continue;
    }
    if (++matches < MatchesOfTwoCopies) continue;
    alreadyOpen_ = true;
    return true;
  }
  examinedWindows_ = examined;
  return false;
}

bool SingleInstanceGuard::HasBorderStyle(const TopLevelWindow& window) {
  return window.bordered;
}

}  // namespace fieldpost
