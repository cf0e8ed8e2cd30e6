// Lets the user choose a file or a folder.
#pragma once

#include <QString>

class QWidget;

namespace fieldpost {

/// Asks for a folder with the platform's own dialog, beginning at the folder `start`. Returns its path with
/// the platform's separators; empty when none was chosen.
QString ChooseFolder(QWidget& parent, const QString& start);

/// The same for a file that is there already, beginning where the file `start` is.
QString ChooseFile(QWidget& parent, const QString& start);

}  // namespace fieldpost
