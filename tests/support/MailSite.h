// A whole program with real message boxes, widgets and mail, and a watch of its dialogs.
#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <algorithm>
#include <iostream>
#include <map>
#include <set>

#include "shell/forms/WidgetSend.h"
#include "smtp/SmtpMail.h"
#include "support/SmtpServer.h"
#include "support/WindowSite.h"

namespace fieldpost::test {

/// The wall clock stands still; the steady clock, which timeouts use, runs.
class RunningClock final : public Clock {
 public:
  [[nodiscard]] LocalTime Now() const override { return FakeClock().Now(); }
  [[nodiscard]] std::chrono::steady_clock::time_point Steady() const override {
    return std::chrono::steady_clock::now();
  }
};

/// A site that mails faultlogger data to a mail server of the test.
struct MailSite
    : AfterFirstStart<
          BasicSite<FieldpostProgram, MessageBoxPrompt, WidgetStatusDisplay, SmtpMail, RunningClock>> {
  explicit MailSite(const SmtpServer& server) {
    MailSettings& settings = program.settings;
    settings.SMTPServer = "127.0.0.1";
    settings.SMTPPort = std::to_string(server.Port());
    settings.TryCount = "1";
    settings.Timeout = "30";
    settings.SendFault = "True";
    settings.SendPPC = "False";
    prompt.SetOptionsDialog([this](OptionsPage page) { pages.push_back(page); });
  }

  WidgetMemory memory{home};
  std::vector<OptionsPage> pages;  ///< pages of the options dialog, in the order in which they were opened

  void Send(QWidget* parent = nullptr) { ShowSendDialog(program, display, memory, parent); }

  [[nodiscard]] std::string Process(const std::string& name) const {
    return ReadFile(Tree("Process") / name);
  }
};

/// Observes the dialog of an object name every 10 ms while this object exists.
class DialogWatch {
 public:
  explicit DialogWatch(const char* name) : name_(QString::fromLatin1(name)) {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setInterval(10);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { Look(); });
    timer_.start();
    sinceTick_.start();
  }
  DialogWatch(const DialogWatch&) = delete;
  DialogWatch& operator=(const DialogWatch&) = delete;
  ~DialogWatch() = default;

  std::map<std::string, std::set<std::string>> texts;  ///< of each label, by its name
  std::set<int> values;                                ///< of the bar
  std::set<int> ranges;                                ///< of the bar, their ends
  std::string lines;                                   ///< of the list
  std::vector<qint64> gaps;                            ///< between two observations, in milliseconds

  /// Called at each observation of the visible dialog.
  std::function<void(QDialog&)> onLook = [](QDialog&) {};

  /// Expects that events were processed in time. A busy machine may delay any of them, so one of twenty gaps
  /// may be longer than allowed; a defect of the program would show more often.
  void ExpectAnswers(const std::string& what) {
    std::sort(gaps.begin(), gaps.end());
    ASSERT_FALSE(gaps.empty()) << what;
    std::cout << what << ": largest gap between two events " << gaps.back() << " ms\n";
    EXPECT_LT(gaps[(gaps.size() - 1) * 19 / 20], AllowedGap) << what;
  }

  /// Returns how long the dialog has been visible.
  [[nodiscard]] qint64 UpMilliseconds() const { return up_.isValid() ? up_.elapsed() : 0; }

 private:
#ifdef FIELDPOST_SANITIZE
  static constexpr qint64 AllowedGap = 400;  // instrumented code takes several times as long
#else
  static constexpr qint64 AllowedGap = 100;  // milliseconds
#endif

  void Look() {
    gaps.push_back(sinceTick_.restart());
    for (QWidget* widget : QApplication::topLevelWidgets()) {
      auto* const dialog = qobject_cast<QDialog*>(widget);
      if (dialog == nullptr || dialog->objectName() != name_ || !dialog->isVisible()) continue;
      if (!up_.isValid()) up_.start();
      LookAt(*dialog);
      onLook(*dialog);
      return;
    }
  }

  void LookAt(const QDialog& dialog) {
    for (const QLabel* label : dialog.findChildren<QLabel*>()) {
      texts[FromQt(label->objectName())].insert(FromQt(label->text()));
    }
    const QProgressBar& bar = *dialog.findChild<QProgressBar*>();
    values.insert(bar.value());
    ranges.insert(bar.maximum());
    if (const auto* const list = dialog.findChild<QPlainTextEdit*>()) lines = FromQt(list->toPlainText());
  }

  QString name_;
  QTimer timer_;
  QElapsedTimer sinceTick_;
  QElapsedTimer up_;
};

}  // namespace fieldpost::test
