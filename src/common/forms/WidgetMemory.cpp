#include "common/forms/WidgetMemory.h"

#include <QHeaderView>
#include <QMdiSubWindow>
#include <QRect>
#include <QScreen>
#include <QVariant>
#include <QWidget>
#include <algorithm>

#include "common/forms/WidgetText.h"

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

/// The room of a child window's frame. One that is to be maximised is not yet as large as it will be.
QRect RoomOf(const QMdiSubWindow& child) {
  if (child.window()->isMaximized()) return {QPoint(), child.screen()->availableSize()};
  return child.parentWidget()->rect();
}

QRect Inside(const QRect& room, QRect place) {
  place.setSize(place.size().boundedTo(room.size()));
  place.moveLeft(std::clamp(place.left(), room.left(), room.right() - place.width() + 1));
  place.moveTop(std::clamp(place.top(), room.top(), room.bottom() - place.height() + 1));
  return place;
}

QString ColumnsKey(const QWidget& owner) {
  return Key(owner, QStringLiteral("columns"));
}

}  // namespace

WidgetMemory::WidgetMemory(const std::filesystem::path& ownFolder)
    : file_(PathToQt(ownFolder / "Windows.ini"), QSettings::IniFormat) {}

void WidgetMemory::RestoreGeometry(QWidget& window) {
  if (window.restoreGeometry(file_.value(GeometryKey(window)).toByteArray())) return;
  // The frame that the desktop draws round it needs room too.
  window.resize(window.size().boundedTo(window.screen()->availableSize() * 9 / 10));
}

void WidgetMemory::SaveGeometry(const QWidget& window) {
  file_.setValue(GeometryKey(window), window.saveGeometry());
}

void WidgetMemory::RestoreChild(QMdiSubWindow& child) {
  const QRect kept = file_.value(GeometryKey(*child.widget())).toRect();
  QRect place = kept.isEmpty() ? child.geometry() : kept;
  place.setSize(place.size().expandedTo(child.minimumSizeHint()));
  child.setGeometry(Inside(RoomOf(child), place));
  if (file_.value(MaximisedKey(*child.widget())).toBool()) child.showMaximized();
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
