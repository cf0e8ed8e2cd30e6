// Dialogs to choose a file or a folder.
#pragma once

#include <QString>

class QWidget;

namespace fieldpost {

/// Shows the platform's dialog to choose a folder, starting in the folder `start`. Returns the path with the
/// platform's separators; empty when the user cancelled.
QString ChooseFolder(QWidget& parent, const QString& start);

/// Shows the platform's dialog to choose an existing file, starting in the folder of the file `start`.
/// Returns the path with the platform's separators; empty when the user cancelled.
QString ChooseFile(QWidget& parent, const QString& start);

}  // namespace fieldpost
