#include "options/forms/WidgetFileChoice.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

namespace fieldpost {
namespace {

QString Choice(QFileDialog& dialog) {
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
  return QDir::toNativeSeparators(dialog.selectedFiles().constFirst());
}

}  // namespace

QString ChooseFolder(QWidget& parent, const QString& start) {
  QFileDialog dialog(&parent, QStringLiteral("Choose a folder"), start.isEmpty() ? QDir::homePath() : start);
  dialog.setFileMode(QFileDialog::Directory);
  dialog.setOption(QFileDialog::ShowDirsOnly);
  return Choice(dialog);
}

QString ChooseFile(QWidget& parent, const QString& start) {
  const QString folder = start.isEmpty() ? QDir::homePath() : QFileInfo(start).path();
  QFileDialog dialog(&parent, QStringLiteral("Choose a file"), folder);
  dialog.setFileMode(QFileDialog::ExistingFile);
  return Choice(dialog);
}

}  // namespace fieldpost
