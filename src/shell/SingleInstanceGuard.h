// Detects another running copy of the program that shows windows.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/TopLevelWindows.h"

namespace fieldpost {

/// Finds other copies by the titles of the windows on the desktop, without a lock or a file. Two copies that
/// start at the same time see each other, and both end.
class SingleInstanceGuard {
 public:
  /// `windows` must outlive the object.
  explicit SingleInstanceGuard(TopLevelWindows& windows) : windows_(windows) {}

  /// Whether another copy runs: at least two of the bordered windows on the level of `ownWindow` have the
  /// title `caption` (UTF-8, the title of the main window) or "Fieldpos". One of them is the caller's own
  /// window, which must exist.
  bool IsAlreadyOpen(std::uint64_t ownWindow, std::string_view caption);

  /// Whether a window has the border of an ordinary window.
  [[nodiscard]] static bool HasBorderStyle(const TopLevelWindow& window);

  /// Whether IsAlreadyOpen has found another copy; false before the first call.
  [[nodiscard]] bool AlreadyOpen() const { return alreadyOpen_; }

  /// Returns how many bordered windows with another title the last scan without another copy saw, modulo
  /// 65536.
  [[nodiscard]] std::uint16_t ExaminedWindows() const { return examinedWindows_; }

 private:
  TopLevelWindows& windows_;
  bool alreadyOpen_ = false;
  std::uint16_t examinedWindows_ = 0;
};

}  // namespace fieldpost
