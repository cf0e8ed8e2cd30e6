// The icons of the archive list.
#pragma once

#include <QIcon>

namespace fieldpost {

/// The subject of an icon.
enum class ArchiveSign { File, LargeIcons, SmallIcons, List, Details, Delete };

/// Returns an icon that is drawn in the colours of the palette, sharp at any scale.
QIcon ArchiveIcon(ArchiveSign sign);

}  // namespace fieldpost
