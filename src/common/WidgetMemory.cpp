#include "common/WidgetMemory.h"

#include <QHeaderView>
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
