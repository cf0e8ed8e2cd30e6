// The top-level windows of the desktop, of all programs.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace fieldpost {

/// A top-level window.
struct TopLevelWindow {
  std::uint64_t handle = 0;  ///< the platform's number of the window
  std::string title;         ///< UTF-8; empty when the window has none
  bool bordered = false;     ///< whether it is an ordinary window with a border and a title bar

  bool operator==(const TopLevelWindow&) const = default;
};

/// Lists top-level windows.
class TopLevelWindows {
 public:
  TopLevelWindows() = default;
  TopLevelWindows(const TopLevelWindows&) = delete;
  TopLevelWindows& operator=(const TopLevelWindows&) = delete;
  virtual ~TopLevelWindows() = default;

  /// Returns the windows on the same screen as `window`, which is one of them, each once, front to back where
  /// the system has that order. Hidden windows are included. A window that is closed meanwhile may be
  /// missing. Empty when the window system cannot be reached. Never throws.
  [[nodiscard]] virtual std::vector<TopLevelWindow> OnScreenOf(std::uint64_t window) = 0;
};

/// The windows of an X server; a handle is an X window.
///
/// On X11 a window manager puts a frame around each window that it shows. Listed is the program's window, not
/// the frame: a child of the screen's root that has the property WM_STATE, or that contains no window with
/// WM_STATE (a window that was never shown, or a server without a window manager); otherwise the windows in
/// it that have WM_STATE. A window is bordered when it can be drawn, does not override the window manager,
/// its _NET_WM_WINDOW_TYPE is missing or includes NORMAL, its _MOTIF_WM_HINTS do not refuse decorations, and
/// it is not the hidden group leader of a toolkit, whose title is the program's name too.
class X11TopLevelWindows final : public TopLevelWindows {
 public:
  /// `display` names the X server in the form of the variable DISPLAY; empty stands for the value of that
  /// variable.
  explicit X11TopLevelWindows(std::string display = {}) : display_(std::move(display)) {}

  [[nodiscard]] std::vector<TopLevelWindow> OnScreenOf(std::uint64_t window) override;

 private:
  std::string display_;
};

/// Lists processes instead of windows, for systems on which no program may see the windows of another, such
/// as Wayland. Each running process that has loaded the library of Fieldpost's windows counts as one bordered
/// window with the program's caption; its handle is the process ID. Listed are the processes of the same user
/// on the same desktop, which is identified by WAYLAND_DISPLAY and XDG_RUNTIME_DIR. The calling process is
/// always the first; `window` is ignored.
///
/// Limits: processes on another machine or in another container are not found, nor windows of other programs,
/// nor a copy on an X server of another desktop. A copy on an X server lists only the windows of that server.
/// Without /proc only the calling process is listed.
class ProcessTopLevelWindows final : public TopLevelWindows {
 public:
  explicit ProcessTopLevelWindows(std::string caption) : caption_(std::move(caption)) {}

  [[nodiscard]] std::vector<TopLevelWindow> OnScreenOf(std::uint64_t window) override;

 private:
  std::string caption_;
};

/// Returns the list for a session: X11TopLevelWindows when the program's own windows are on an X server
/// (`onX11`), otherwise ProcessTopLevelWindows with this caption.
[[nodiscard]] std::unique_ptr<TopLevelWindows> SessionTopLevelWindows(bool onX11, std::string caption);

}  // namespace fieldpost
