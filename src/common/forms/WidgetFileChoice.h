// Dialogs in which the user chooses a file or a folder.
#pragma once

#include <QString>

class QWidget;

namespace fieldpost {

/// Shows the platform's dialog for a folder, which begins at the folder `start`, or at the home folder when
/// `start` is empty. Returns the path with the platform's separators; empty when the dialog was cancelled.
QString ChooseFolder(QWidget& parent, const QString& start);

/// Shows the platform's dialog for an existing file, which begins at the folder of the file `start`, or at
/// the home folder when `start` is empty. Returns the path with the platform's separators; empty when the
/// dialog was cancelled.
QString ChooseFile(QWidget& parent, const QString& start);

}  // namespace fieldpost
