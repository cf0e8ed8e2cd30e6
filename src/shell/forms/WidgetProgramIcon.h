// The program's sign: what desktops show in title bars and lists of windows.
#pragma once

#include <QIcon>

namespace fieldpost {

/// An envelope on a coloured ground, in the sizes that desktops ask for.
QIcon ProgramIcon();

}  // namespace fieldpost
