// The program's icon.
#pragma once

#include <QIcon>

namespace fieldpost {

/// Returns the icon of the program, an envelope on a coloured ground, in the sizes that desktops use.
QIcon ProgramIcon();

}  // namespace fieldpost
