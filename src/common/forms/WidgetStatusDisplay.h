// Shows the progress of a long step in widgets.
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

/// The widgets of a window that show the progress of a step; each may be null.
struct StatusWidgets {
  QPointer<QLabel> label;          ///< what SetLabel sets
  QPointer<QProgressBar> bar;      ///< range and position
  QPointer<QPlainTextEdit> lines;  ///< status lines, one below the other
  QPointer<QLabel> step{};         ///< what SetStep sets
};

/// A status display in widgets. It processes events, and redraws, at most every 50 ms, however often it is
/// called. The value that was set last is visible after 50 ms at the latest, also while a message box is
/// open.
class WidgetStatusDisplay final : public StatusDisplay {
 public:
  WidgetStatusDisplay();

  /// Shows progress in these widgets from now on. A widget that was destroyed is ignored.
  void ShowIn(StatusWidgets widgets);

  /// The widgets that show the progress.
  [[nodiscard]] const StatusWidgets& Shown() const { return widgets_; }

  /// Cancels the running step; with false, clears the request before another step starts.
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
