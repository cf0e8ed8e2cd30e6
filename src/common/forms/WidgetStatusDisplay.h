// Shows the progress of a long step in the widgets of a window.
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

/// The widgets of a window that show the progress of a step. Each may be missing.
struct StatusWidgets {
  QPointer<QLabel> label;          ///< shows the text of SetLabel
  QPointer<QProgressBar> bar;      ///< shows range and position
  QPointer<QPlainTextEdit> lines;  ///< shows the status lines
  QPointer<QLabel> step{};         ///< shows the text of SetStep
};

/// A status display on widgets. It processes events at most every 50 ms, however often ProcessEvents is
/// called, and does not redraw in between. Changes are visible after 50 ms at the latest, also while a
/// message box is open.
class WidgetStatusDisplay final : public StatusDisplay {
 public:
  WidgetStatusDisplay();

  /// Sets the widgets in which the next steps are shown. Widgets that are missing or deleted are ignored.
  void ShowIn(StatusWidgets widgets);

  /// Returns the current widgets.
  [[nodiscard]] const StatusWidgets& Shown() const { return widgets_; }

  /// Cancels the current step (`stop` is true), or resets that before another step begins.
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
