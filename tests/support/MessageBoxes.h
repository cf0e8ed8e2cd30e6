// Answers and records message boxes while a test drives a window.
#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "common/forms/WidgetText.h"

namespace fieldpost::test {

/// A message box as the user sees it.
struct SeenBox {
  std::string text;
  QMessageBox::Icon icon;
  std::string title;
  std::string buttons = "OK";  ///< their captions without mnemonics, in the order of the box, a blank between

  bool operator==(const SeenBox&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const SeenBox& box) {
    return out << '"' << box.text << "\" [" << box.title << "] icon " << box.icon << " (" << box.buttons
               << ')';
  }
};

/// For its lifetime, answers every message box with a real key as soon as it is visible: the n-th box with
/// the n-th key, further boxes with Enter. Other modal dialogs are passed to `onDialog`.
class MessageBoxes {
 public:
  explicit MessageBoxes(std::vector<Qt::Key> keys = {}) : keys_(std::move(keys)) {
    timer_.setInterval(5);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { Look(); });
    timer_.start();
  }
  MessageBoxes(const MessageBoxes&) = delete;
  MessageBoxes& operator=(const MessageBoxes&) = delete;
  ~MessageBoxes() = default;

  std::vector<SeenBox> seen;

  /// Called once for each modal dialog that is not a message box; it must make the dialog close. Without it,
  /// such dialogs are ignored.
  std::function<void(QDialog&)> onDialog;

 private:
  void Look() {
    auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr || !dialog->isVisible() || dialog == handled_) return;
    if (auto* const box = qobject_cast<QMessageBox*>(dialog)) {
      handled_ = dialog;
      Answer(*box);
    } else if (onDialog) {
      handled_ = dialog;
      onDialog(*dialog);
    }
  }

  void Answer(QMessageBox& box) {
    SeenBox one{FromQt(box.text()), box.icon(), FromQt(box.windowTitle()), {}};
    for (const QAbstractButton* button : box.buttons()) {
      if (!one.buttons.empty()) one.buttons += ' ';
      one.buttons += FromQt(button->text().remove(QLatin1Char('&')));
    }
    seen.push_back(std::move(one));
    const Qt::Key key = seen.size() <= keys_.size() ? keys_[seen.size() - 1] : Qt::Key_Return;
    QTest::keyClick(&box, key);
  }

  std::vector<Qt::Key> keys_;
  QTimer timer_;
  QPointer<QDialog> handled_;  // the visible dialog that was answered already
};

}  // namespace fieldpost::test
