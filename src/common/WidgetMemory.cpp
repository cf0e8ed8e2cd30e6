#include "common/WidgetMemory.h"

#include <QHeaderView>
#include <QMdiSubWindow>
#include <QRect>
#include <QVariant>
#include <QWidget>

#include "common/WidgetText.h"

namespace fieldpost {
namespace {

QString Key(const QWidget& owner, const QString& name) {
  return owner.objectName() + u'/' + name;
}

QString GeometryKey(const QWidget& window) {
  return Key(window, QStringLiteral("geometry"));
}

QString MaximisedKey(const QWidget& form) {
  return Key(form, QStringLiteral("maximised"));
}

QString ColumnsKey(const QWidget& owner) {
  return Key(owner, QStringLiteral("columns"));
}

}  // namespace

WidgetMemory::WidgetMemory(const std::filesystem::path& ownFolder)
    : file_(PathToQt(ownFolder / "Windows.ini"), QSettings::IniFormat) {}

void WidgetMemory::RestoreGeometry(QWidget& window) {
  window.restoreGeometry(file_.value(GeometryKey(window)).toByteArray());
}

void WidgetMemory::SaveGeometry(const QWidget& window) {
  file_.setValue(GeometryKey(window), window.saveGeometry());
}

bool WidgetMemory::RestoreChild(QMdiSubWindow& child) {
  const QVariant place = file_.value(GeometryKey(*child.widget()));
  if (!place.isValid()) return false;
  child.setGeometry(place.toRect());
  if (file_.value(MaximisedKey(*child.widget())).toBool()) child.showMaximized();
  return true;
}

void WidgetMemory::SaveChild(const QMdiSubWindow& child) {
  if (child.widget() == nullptr) return;
  const QWidget& form = *child.widget();
  file_.setValue(MaximisedKey(form), child.isMaximized());
  // What it had before it was made the largest or the smallest possible is what it goes back to.
  if (!child.isMaximized() && !child.isMinimized()) file_.setValue(GeometryKey(form), child.geometry());
}

void WidgetMemory::RestoreColumns(const QWidget& owner, QHeaderView& columns) {
  columns.restoreState(file_.value(ColumnsKey(owner)).toByteArray());
}

void WidgetMemory::SaveColumns(const QWidget& owner, const QHeaderView& columns) {
  file_.setValue(ColumnsKey(owner), columns.saveState());
}

QString WidgetMemory::Text(const QWidget& owner, const QString& name) const {
  return file_.value(Key(owner, name)).toString();
}

void WidgetMemory::SaveText(const QWidget& owner, const QString& name, const QString& text) {
  file_.setValue(Key(owner, name), text);
}

}  // namespace fieldpost
