#include "shell/SingleInstanceGuard.h"

namespace fieldpost {
namespace {

/// The product's name less its last letter: an exact title of its own, not the beginning of one.
constexpr std::string_view FixedTitle = "Fieldpos";

/// The caller's own window is one of them.
constexpr int MatchesOfTwoCopies = 2;

}  // namespace

bool SingleInstanceGuard::IsAlreadyOpen(std::uint64_t ownWindow, std::string_view caption) {
  int matches = 0;
  std::uint16_t examined = 0;
  for (const TopLevelWindow& window : windows_.OnLevelOf(ownWindow)) {
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
