// The archive list's icons, drawn in the colours of the user's palette and sharp at any scale.
#pragma once

#include <QIcon>

namespace fieldpost {

/// What an icon shows.
enum class ArchiveSign { File, LargeIcons, SmallIcons, List, Details, Delete };

QIcon ArchiveIcon(ArchiveSign sign);

}  // namespace fieldpost
