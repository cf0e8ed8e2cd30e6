#include "viewer/forms/WidgetFindBar.h"

#include <QKeyEvent>

#include "ui_WidgetFindBar.h"

namespace fieldpost {

WidgetFindBar::WidgetFindBar(QWidget* parent) : QWidget(parent), ui_(std::make_unique<Ui::WidgetFindBar>()) {
  ui_->setupUi(this);
  hide();
  const auto find = [this](SearchDirection direction, bool mayStay) {
    return [this, direction, mayStay] { Q_EMIT FindRequested(direction, mayStay); };
  };
  connect(ui_->cmdFindNext, &QPushButton::clicked, this, find(SearchDirection::Forward, false));
  connect(ui_->cmdFindPrevious, &QPushButton::clicked, this, find(SearchDirection::Backward, false));
  connect(ui_->txtFind, &QLineEdit::textEdited, this, find(SearchDirection::Forward, true));
  connect(ui_->cmdFindClose, &QPushButton::clicked, this, &WidgetFindBar::Close);
  ui_->txtFind->installEventFilter(this);
}

WidgetFindBar::~WidgetFindBar() = default;

void WidgetFindBar::Open(const QString& proposed) {
  if (!proposed.isEmpty()) ui_->txtFind->setText(proposed);
  show();
  ui_->txtFind->setFocus(Qt::ShortcutFocusReason);
  ui_->txtFind->selectAll();
}

QString WidgetFindBar::Text() const {
  return ui_->txtFind->text();
}

void WidgetFindBar::ShowResult(const QString& result) {
  ui_->lblFound->setText(result);
}

void WidgetFindBar::Close() {
  hide();
  Q_EMIT Closed();
}

void WidgetFindBar::keyPressEvent(QKeyEvent* event) {
  if (event->key() != Qt::Key_Escape) return QWidget::keyPressEvent(event);
  Close();
}

/// Handles Enter in the text box; other events pass.
bool WidgetFindBar::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress) return QWidget::eventFilter(watched, event);
  const auto& key = static_cast<const QKeyEvent&>(*event);
  const bool isEnter = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
  if (!isEnter) return QWidget::eventFilter(watched, event);
  const bool isBackward = key.modifiers().testFlag(Qt::ShiftModifier);
  Q_EMIT FindRequested(isBackward ? SearchDirection::Backward : SearchDirection::Forward, false);
  return true;
}

}  // namespace fieldpost
