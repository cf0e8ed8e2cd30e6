#include "viewer/forms/WidgetLogTextAccess.h"

#include <QAccessibleWidget>

#include "viewer/forms/WidgetLogText.h"

namespace fieldpost {
namespace {

class LogTextAccess final : public QAccessibleWidget {
 public:
  explicit LogTextAccess(WidgetLogText& view)
      : QAccessibleWidget(&view, QAccessible::EditableText), view_(view) {}

  [[nodiscard]] QString text(QAccessible::Text kind) const override {
    return kind == QAccessible::Value ? view_.VisibleText() : QAccessibleWidget::text(kind);
  }

  [[nodiscard]] QAccessible::State state() const override {
    QAccessible::State result = QAccessibleWidget::state();
    result.readOnly = true;
    result.multiLine = true;
    result.selectableText = true;
    return result;
  }

 private:
  WidgetLogText& view_;
};

QAccessibleInterface* MakeAccess(const QString& className, QObject* object) {
  if (className != QLatin1String(WidgetLogText::staticMetaObject.className())) return nullptr;
  auto* const view = qobject_cast<WidgetLogText*>(object);
  // Qt owns what its factories make.
  return view == nullptr ? nullptr : new LogTextAccess(*view);  // NOLINT(cppcoreguidelines-owning-memory)
}

}  // namespace

void InstallLogTextAccess() {
  QAccessible::installFactory(&MakeAccess);
}

void TellLogTextMoved(WidgetLogText& view) {
  if (!QAccessible::isActive()) return;
  QAccessibleValueChangeEvent event(&view, view.VisibleText());
  QAccessible::updateAccessibility(&event);
}

}  // namespace fieldpost
