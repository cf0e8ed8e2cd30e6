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

/// Returns the area inside the frame of a child window. A frame that is about to be maximised has not its
/// final size yet; the area of the screen stands for it.
QRect AreaOf(const QMdiSubWindow& child) {
  if (child.window()->isMaximized()) return {QPoint(), child.screen()->availableSize()};
  return child.parentWidget()->rect();
}

QRect MovedInside(const QRect& area, QRect place) {
  place.setSize(place.size().boundedTo(area.size()));
  place.moveLeft(std::clamp(place.left(), area.left(), area.right() - place.width() + 1));
  place.moveTop(std::clamp(place.top(), area.top(), area.bottom() - place.height() + 1));
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
  // A tenth is left for the frame that the desktop draws around the window.
  window.resize(window.size().boundedTo(window.screen()->availableSize() * 9 / 10));
}

void WidgetMemory::SaveGeometry(const QWidget& window) {
  file_.setValue(GeometryKey(window), window.saveGeometry());
}

void WidgetMemory::RestoreChild(QMdiSubWindow& child) {
  const QRect kept = file_.value(GeometryKey(*child.widget())).toRect();
  QRect place = kept.isEmpty() ? child.geometry() : kept;
  place.setSize(place.size().expandedTo(child.minimumSizeHint()));
  child.setGeometry(MovedInside(AreaOf(child), place));
  if (file_.value(MaximisedKey(*child.widget())).toBool()) child.showMaximized();
}

void WidgetMemory::SaveChild(const QMdiSubWindow& child) {
  if (child.widget() == nullptr) return;
  const QWidget& form = *child.widget();
  file_.setValue(MaximisedKey(form), child.isMaximized());
  // The normal geometry is kept while the window is maximised or minimised.
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
