// Keeps a second copy of the program from running with windows.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/TopLevelWindows.h"

namespace fieldpost {

/// Finds other copies by the titles of the windows on the desktop; no lock, no file. Two that start in the
/// same moment see each other, and both give way.
class SingleInstanceGuard {
 public:
  explicit SingleInstanceGuard(TopLevelWindows& windows) : windows_(windows) {}

  /// Whether another copy runs: whether, of the bordered windows that share a level with `ownWindow`, two
  /// have the title `caption` (UTF-8, the main window's own) or "Fieldpos". The caller's own window, which
  /// must exist by then, is one of the two.
  bool IsAlreadyOpen(std::uint64_t ownWindow, std::string_view caption);

  /// Whether a window has the border of an ordinary one.
  [[nodiscard]] static bool HasBorderStyle(const TopLevelWindow& window);

  /// Whether IsAlreadyOpen has found another copy; false at the start.
  [[nodiscard]] bool AlreadyOpen() const { return alreadyOpen_; }

  /// How many bordered windows with another title the last scan that found no copy has met, modulo 65536.
  [[nodiscard]] std::uint16_t ExaminedWindows() const { return examinedWindows_; }

 private:
  TopLevelWindows& windows_;
  bool alreadyOpen_ = false;
  std::uint16_t examinedWindows_ = 0;
};

}  // namespace fieldpost
