// The socket of a Wayland compositor.
#pragma once

#include <string>
#include <string_view>

namespace fieldpost {

/// Returns the path of the socket that the values of WAYLAND_DISPLAY and XDG_RUNTIME_DIR name, as libwayland
/// resolves them; empty when they name none. The socket need not exist.
inline std::string WaylandSocket(std::string_view waylandDisplay, std::string_view runtimeFolder) {
  if (waylandDisplay.starts_with('/')) return std::string(waylandDisplay);
  if (runtimeFolder.empty()) return {};
  return std::string(runtimeFolder).append("/").append(waylandDisplay.empty() ? "wayland-0" : waylandDisplay);
}

}  // namespace fieldpost
