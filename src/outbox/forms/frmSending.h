// The window that shows a send while it runs.
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

/// Runs a job once it is shown, shows where the job is, and closes when the job is done. While it is up
/// nothing else of the program can be used, so that no second job can begin. Closing it earlier, in whatever
/// way, asks the job to end; the window goes when it did.
class frmSending final : public QDialog {
  Q_OBJECT

 public:
  /// `job` must not throw, and asks `display` whether it is to end. Everything outlives the window.
  frmSending(std::function<void()> job, WidgetStatusDisplay& display, WidgetMemory& memory,
             QWidget* parent = nullptr);
  ~frmSending() override;

  /// Escape, the button and the title bar lead here.
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
