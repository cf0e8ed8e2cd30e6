// The window that shows the PPC collection while it runs.
#pragma once

#include <QDialog>
#include <memory>

#include "common/forms/WidgetStatusDisplay.h"

namespace Ui {
class frmProcessPPC;
}

namespace fieldpost {

/// Takes the display over from construction to destruction. Closing it, in whatever way, asks the step that
/// is shown to end; the window stays until its owner takes it away.
class frmProcessPPC final : public QDialog {
  Q_OBJECT

 public:
  /// `display` outlives the window.
  explicit frmProcessPPC(WidgetStatusDisplay& display, QWidget* parent = nullptr);
  ~frmProcessPPC() override;

  /// Escape, the button and the title bar lead here.
  void reject() override;

 private:
  std::unique_ptr<Ui::frmProcessPPC> ui_;
  WidgetStatusDisplay& display_;
  StatusWidgets before_;
};

}  // namespace fieldpost
