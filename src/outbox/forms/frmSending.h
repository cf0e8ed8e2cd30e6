// The dialog that shows a send while it runs.
#pragma once

#include <QDialog>
#include <functional>
#include <memory>

#include "common/forms/WidgetMemory.h"
#include "common/forms/WidgetStatusDisplay.h"

namespace Ui {
class frmSending;
}

namespace fieldpost {

/// Runs a job once it is shown, shows its progress, and closes when the job is done. It is modal to the
/// program, so that no second job can begin. Closing it earlier cancels the job; the dialog closes when the
/// job has ended.
class frmSending final : public QDialog {
  Q_OBJECT

 public:
  /// `job` must not throw, and must ask `display` whether it was cancelled. All arguments must outlive the
  /// dialog.
  frmSending(std::function<void()> job, WidgetStatusDisplay& display, WidgetMemory& memory,
             QWidget* parent = nullptr);
  ~frmSending() override;

  /// Cancels the job, or closes the dialog when it is done. Called for Escape, the button and the title bar.
  void reject() override;

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void RunJob();

  std::unique_ptr<Ui::frmSending> ui_;
  std::function<void()> job_;
  WidgetStatusDisplay& display_;
  WidgetMemory& memory_;
  enum class State { NotBegun, Running, Done } state_ = State::NotBegun;
};

}  // namespace fieldpost
