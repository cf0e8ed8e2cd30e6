// The windows that stand directly on the desktop, of whatever program.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace fieldpost {

/// A window that stands directly on the desktop.
struct TopLevelWindow {
  std::uint64_t handle = 0;  ///< The platform's number for it.
  std::string title;         ///< UTF-8; empty when it has none.
  bool bordered = false;     ///< Whether it is an ordinary window that is drawn with a border and a title.

  bool operator==(const TopLevelWindow&) const = default;
};

/// The system's list of such windows.
class TopLevelWindows {
 public:
  TopLevelWindows() = default;
  TopLevelWindows(const TopLevelWindows&) = delete;
  TopLevelWindows& operator=(const TopLevelWindows&) = delete;
  virtual ~TopLevelWindows() = default;

  /// The windows that share a level with `window`, itself among them, each once, front to back where the
  /// system tells. Windows that are hidden or not shown yet are among them. Empty when the system cannot be
  /// asked; a window that goes while it is asked about may be missing, which is no failure. Never throws.
  [[nodiscard]] virtual std::vector<TopLevelWindow> OnLevelOf(std::uint64_t window) = 0;
};

/// The windows of an X server; a handle is an X window.
///
/// On X11 a window manager puts a frame of its own round each window that it shows. Listed is the program's
/// window, never its frame: a child of the screen's root which holds WM_STATE, or which holds no window with
/// WM_STATE (one that is not shown yet, or a server without a window manager); else those windows in it that
/// hold WM_STATE. Bordered is one that can be drawn and leaves its frame to the window manager, whose
/// _NET_WM_WINDOW_TYPE is missing or names NORMAL, whose _MOTIF_WM_HINTS do not refuse decorations, and that
/// is not the hidden helper by which a toolkit leads its program's windows: that one bears the program's name
/// as its title too.
class X11TopLevelWindows final : public TopLevelWindows {
 public:
  /// `display` names the X server as the variable DISPLAY does; empty means what that variable says.
  explicit X11TopLevelWindows(std::string display = {}) : display_(std::move(display)) {}

  [[nodiscard]] std::vector<TopLevelWindow> OnLevelOf(std::uint64_t window) override;

 private:
  std::string display_;
};

/// The stand-in where no program may see another's windows, as on Wayland: each running process that has the
/// library of Fieldpost's windows loaded counts as one bordered window with the program's caption; a handle
/// is a process's number. They share a level when they belong to the same user and the same desktop, which is
/// where WAYLAND_DISPLAY and XDG_RUNTIME_DIR lead. The calling process is always the first, whatever `window`
/// is.
///
/// Limits: processes on another machine or in another container are not seen, nor are windows of other
/// programs, whatever their title, nor a copy that shows its windows on an X server of another desktop. A
/// copy on an X server sees that server's windows alone, none of a copy that runs without one. A system
/// without /proc shows the calling process alone.
class ProcessTopLevelWindows final : public TopLevelWindows {
 public:
  explicit ProcessTopLevelWindows(std::string caption) : caption_(std::move(caption)) {}

  [[nodiscard]] std::vector<TopLevelWindow> OnLevelOf(std::uint64_t window) override;

 private:
  std::string caption_;
};

/// The list for a session: that of the X server when the program's own windows are on one (`onX11`), else
/// that of processes, titled `caption`.
[[nodiscard]] std::unique_ptr<TopLevelWindows> SessionTopLevelWindows(bool onX11, std::string caption);

}  // namespace fieldpost
