#include "ppc/forms/frmProcessPPC.h"

#include "ui_frmProcessPPC.h"

namespace fieldpost {

frmProcessPPC::frmProcessPPC(WidgetStatusDisplay& display, QWidget* parent)
    : QDialog(parent),
      ui_(std::make_unique<Ui::frmProcessPPC>()),
      display_(display),
      before_(display.Shown()) {
  ui_->setupUi(this);
  // Wide enough for the largest count, so that the window does not change while it counts.
  setMinimumWidth(fontMetrics().averageCharWidth() * 50);
  connect(ui_->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
  display_.ShowIn(
      {.label = ui_->lblStatus, .bar = ui_->ProBar, .lines = before_.lines, .step = before_.step});
}

frmProcessPPC::~frmProcessPPC() {
  display_.ShowIn(before_);
}

void frmProcessPPC::reject() {
  display_.RequestStop(true);
  ui_->cmdCancel->setEnabled(false);
}

}  // namespace fieldpost
