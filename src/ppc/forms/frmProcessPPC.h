// The window that shows the PPC collection while it runs.
#pragma once

#include <QDialog>
#include <memory>

#include "common/forms/WidgetStatusDisplay.h"

namespace Ui {
class frmProcessPPC;
}

namespace fieldpost {

/// Redirects the status display to this window while the window exists. Closing it cancels the step that is
/// shown; the window stays until its owner destroys it.
class frmProcessPPC final : public QDialog {
  Q_OBJECT

 public:
  /// `display` must outlive the window.
  explicit frmProcessPPC(WidgetStatusDisplay& display, QWidget* parent = nullptr);
  ~frmProcessPPC() override;

  /// Cancels the step. Called for Escape, the button and the title bar.
  void reject() override;

 private:
  std::unique_ptr<Ui::frmProcessPPC> ui_;
  WidgetStatusDisplay& display_;
  StatusWidgets before_;
};

}  // namespace fieldpost
