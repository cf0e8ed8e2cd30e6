// Whether the program can show windows.
#pragma once

#include <string>

namespace fieldpost {

/// Returns an empty text when a display is available, otherwise one line for the user (UTF-8, without a line
/// end). Must be called before Qt starts, which would abort the program without a display. Where
/// QT_QPA_PLATFORM names platforms, separated by ";", one of them must be available; any but "xcb" and
/// "wayland" always is. Otherwise an X server that DISPLAY names and that accepts this program is sufficient,
/// or a Wayland compositor that listens on the socket that WAYLAND_DISPLAY names.
[[nodiscard]] std::string DisplayProblem();

}  // namespace fieldpost
