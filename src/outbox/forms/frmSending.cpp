#include "outbox/forms/frmSending.h"

#include <QShowEvent>
#include <utility>

#include "ui_frmSending.h"

namespace fieldpost {

frmSending::frmSending(std::function<void()> job, WidgetStatusDisplay& display, WidgetMemory& memory,
                       QWidget* parent)
    : QDialog(parent),
      ui_(std::make_unique<Ui::frmSending>()),
      job_(std::move(job)),
      display_(display),
      memory_(memory) {
  ui_->setupUi(this);
  resize(fontMetrics().averageCharWidth() * 72, fontMetrics().height() * 20);
  connect(ui_->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
  memory_.RestoreGeometry(*this);
}

frmSending::~frmSending() = default;

void frmSending::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (state_ != State::NotBegun) return;
  state_ = State::Running;
  // The dialog is painted before the job begins.
  QMetaObject::invokeMethod(this, &frmSending::RunJob, Qt::QueuedConnection);
}

void frmSending::RunJob() {
  const StatusWidgets before = display_.Shown();
  display_.RequestStop(false);
  display_.ShowIn(
      {.label = ui_->lblPerC, .bar = ui_->ProBar, .lines = ui_->txtStatus, .step = ui_->lblSending});
  job_();
  display_.ShowIn(before);
  display_.RequestStop(false);
  state_ = State::Done;
  memory_.SaveGeometry(*this);
  accept();
}

void frmSending::reject() {
  if (state_ == State::Done) return QDialog::reject();
  display_.RequestStop(true);
  ui_->cmdCancel->setEnabled(false);
  ui_->lblSending->setText(QStringLiteral("Ending..."));
}

}  // namespace fieldpost
