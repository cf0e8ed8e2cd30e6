#include "common/forms/MessageBoxPrompt.h"

#include <QApplication>
#include <QCursor>
#include <QMessageBox>

#include "common/forms/WidgetText.h"

namespace fieldpost {
namespace {

QMessageBox::Icon BoxIcon(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::None:
      return QMessageBox::NoIcon;
    case MessageIcon::Information:
      return QMessageBox::Information;
    case MessageIcon::Exclamation:
      return QMessageBox::Warning;
    case MessageIcon::Critical:
      return QMessageBox::Critical;
  }
  return QMessageBox::NoIcon;
}

bool PointerIsBusy() {
  return QApplication::overrideCursor() != nullptr;
}

/// Shows the normal pointer for its lifetime, because the user is to act.
class NormalPointer {
 public:
  NormalPointer() {
    if (wasBusy_) QApplication::restoreOverrideCursor();
  }
  NormalPointer(const NormalPointer&) = delete;
  NormalPointer& operator=(const NormalPointer&) = delete;
  ~NormalPointer() {
    if (wasBusy_) QApplication::setOverrideCursor(Qt::WaitCursor);
  }

 private:
  bool wasBusy_ = PointerIsBusy();
};

/// Returns the parent window of the box. A window that is deleted when it is closed, such as the help, is not
/// used: the box would be deleted with it while its answer is awaited.
QWidget* Owner() {
  if (QWidget* const modal = QApplication::activeModalWidget()) return modal;
  QWidget* const active = QApplication::activeWindow();
  return active == nullptr || active->testAttribute(Qt::WA_DeleteOnClose) ? nullptr : active;
}

/// Returns the pressed button. The text is shown as plain text, never as markup.
int ShowBox(std::string_view text, MessageIcon icon, std::string_view title,
            QMessageBox::StandardButtons buttons, QMessageBox::StandardButton defaultButton) {
  const NormalPointer pointer;
  QMessageBox box(BoxIcon(icon), title.empty() ? QStringLiteral("Fieldpost") : ToQt(title), ToQt(text),
                  buttons, Owner());
  box.setTextFormat(Qt::PlainText);
  box.setDefaultButton(defaultButton);
  return box.exec();
}

}  // namespace

void MessageBoxPrompt::ShowMessage(std::string_view text, MessageIcon icon, std::string_view title) {
  ShowBox(text, icon, title, QMessageBox::Ok, QMessageBox::Ok);
}

bool MessageBoxPrompt::AskYesNo(std::string_view text, MessageIcon icon, std::string_view title) {
  const auto buttons = QMessageBox::Yes | QMessageBox::No;
  return ShowBox(text, icon, title, buttons, QMessageBox::No) == QMessageBox::Yes;
}

void MessageBoxPrompt::ShowOptions(OptionsPage page) {
  const NormalPointer pointer;
  if (showOptions_) showOptions_(page);
}

void MessageBoxPrompt::SetBusyPointer(bool busy) {
  if (busy == PointerIsBusy()) return;
  if (busy) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
  } else {
    QApplication::restoreOverrideCursor();
  }
}

}  // namespace fieldpost
