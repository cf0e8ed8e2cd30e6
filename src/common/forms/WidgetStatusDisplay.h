// Shows where a long step is, in the widgets of the window that drives it.
#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <string>

#include "common/StatusDisplay.h"

class QLabel;
class QPlainTextEdit;
class QProgressBar;

namespace fieldpost {

/// The widgets of one window that tell of a step; each may be missing.
struct StatusWidgets {
  QPointer<QLabel> label;          ///< what SetLabel sets
  QPointer<QProgressBar> bar;      ///< range and position
  QPointer<QPlainTextEdit> lines;  ///< status lines, one below the other
  QPointer<QLabel> step{};         ///< what SetStep sets
};

/// A status display on widgets. It lets events run at most every 50 ms, however often it is asked to, and
/// redraws nothing in between; what was set last is seen 50 ms later at the latest, also while a message box
/// waits for its answer.
class WidgetStatusDisplay final : public StatusDisplay {
 public:
  WidgetStatusDisplay();

  /// Shows the following steps in these widgets, until others are given. Widgets that are gone are left out.
  void ShowIn(StatusWidgets widgets);

  /// The widgets given last.
  [[nodiscard]] const StatusWidgets& Shown() const { return widgets_; }

  /// Asks the step that is running to end, or takes that back before another begins.
  void RequestStop(bool stop) { stopRequested_ = stop; }

  void ShowStatusLine(std::string_view text) override;
  void SetStep(std::string_view text) override;
  void SetLabel(std::string_view text) override;
  void SetRange(std::size_t steps) override;
  void SetPosition(std::size_t done) override;
  void ProcessEvents() override;
  [[nodiscard]] bool IsCancelled() const override { return stopRequested_; }

 private:
  void ShowSoon();
  void ShowNow();

  StatusWidgets widgets_;
  QElapsedTimer sinceEvents_;
  QTimer soon_;
  std::string label_;
  std::size_t position_ = 0;
  bool labelChanged_ = false;
  bool positionChanged_ = false;
  bool stopRequested_ = false;
};

}  // namespace fieldpost
