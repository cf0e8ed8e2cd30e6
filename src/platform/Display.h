// Whether windows can be shown at all.
#pragma once

#include <string>

namespace fieldpost {

/// One clear line (UTF-8, without a line end) when no display can be had for windows, empty when one can. It
/// must be asked before the window library starts, which would abort the program. That library's own choice
/// counts: the variable QT_QPA_PLATFORM may name what alone is tried ("xcb", "wayland", several with ";"
/// between them); when it names any other platform there is no problem. Else an X server that DISPLAY names
/// and that lets this program in will do, or a Wayland compositor that listens where WAYLAND_DISPLAY says.
[[nodiscard]] std::string DisplayProblem();

}  // namespace fieldpost
