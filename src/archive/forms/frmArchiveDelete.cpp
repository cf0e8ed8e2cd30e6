#include "archive/forms/frmArchiveDelete.h"

#include <fmt/format.h>

#include <QPushButton>
#include <utility>

#include "common/PathText.h"
#include "common/Text.h"
#include "ui_frmArchiveDelete.h"

namespace fieldpost {
namespace {

std::string FoundOr(const DeletionResult& result, std::string found, std::string_view none) {
  return result.deleted > 0 ? std::move(found) : std::string(none);
}

}  // namespace

frmArchiveDelete::frmArchiveDelete(const RunContext& run, UserPrompt& prompt, std::string productCode,
                                   QWidget* parent)
    : QDialog(parent),
      ui_(std::make_unique<Ui::frmArchiveDelete>()),
      run_(run),
      prompt_(prompt),
      archive_(PathFromUtf8(WithSeparator(run.settings.ArchiveFolder))),
      productCode_(std::move(productCode)),
      deletion_(run.files, archive_) {
  ui_->setupUi(this);
  display_.ShowIn({.label = {}, .bar = ui_->ProBarDelete, .lines = {}});
  connect(ui_->cmdDelete, &QPushButton::clicked, this, &frmArchiveDelete::Delete);
  connect(ui_->cmdCancel, &QPushButton::clicked, this, &frmArchiveDelete::reject);
}

frmArchiveDelete::~frmArchiveDelete() = default;

void frmArchiveDelete::DeleteItems(PathList paths) {
  paths_ = std::move(paths);
  if (!paths_.empty()) ui_->optDeleteSelected->setChecked(true);
}

void frmArchiveDelete::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (!std::exchange(isChecked_, true)) CheckArchive();
}

/// The message is posted, so that it appears over the visible dialog.
void frmArchiveDelete::CheckArchive() {
  const ProductCodeList codes = deletion_.ProductCodes();
  if (!codes.names.empty()) return;
  ui_->cmdDelete->setEnabled(false);
  if (!codes.problem.empty()) run_.log.WriteLog(codes.problem, LogCategory::Error);
  const auto show = [this, problem = codes.problem] {
    if (!problem.empty()) return prompt_.ShowMessage(problem, MessageIcon::Exclamation, {});
    prompt_.ShowMessage("Archive folder is empty", MessageIcon::Information, {});
  };
  QMetaObject::invokeMethod(this, show, Qt::QueuedConnection);
}

void frmArchiveDelete::Delete() {
  if (isRunning_ || ui_->rules->checkedButton() == nullptr) return;
  if (!prompt_.AskYesNo("Are you sure you want to Delete", MessageIcon::Information, "File Delete")) return;
  Outcome outcome;
  {
    RunLock lock;
    if (!TakeLock(lock)) return;
    display_.RequestStop(false);
    SetRunning(true);
    outcome = RunRule();
  }
  ShowOutcome(outcome);
  ui_->ProBarDelete->setValue(0);
  RemoveEmptyFolders();
  SetRunning(false);
  accept();
}

bool frmArchiveDelete::TakeLock(RunLock& lock) {
  const std::string problem = lock.Acquire(run_.files, {archive_});
  if (!problem.empty()) prompt_.ShowMessage(problem, MessageIcon::Exclamation, {});
  return problem.empty();
}

void frmArchiveDelete::SetRunning(bool isRunning) {
  isRunning_ = isRunning;
  for (QWidget* const part :
       {static_cast<QWidget*>(ui_->freAllProdcode), static_cast<QWidget*>(ui_->freThisProdcode),
        static_cast<QWidget*>(ui_->cmdDelete)}) {
    part->setEnabled(!isRunning);
  }
  ui_->ProBarDelete->setVisible(isRunning);
}

frmArchiveDelete::Outcome frmArchiveDelete::RunRule() {
  Outcome outcome;
  DeletionResult& result = outcome.result;
  const std::string code = EscapeControls(productCode_);
  if (ui_->optDeleteAll->isChecked()) {
    result = deletion_.DeleteAll(display_);
    outcome.message = "All files are deleted";
  } else if (ui_->optDeleteProcess->isChecked()) {
    result = deletion_.DeleteProcess(productCode_, display_);
    outcome.message = FoundOr(result, "Process files are deleted in " + code, "Process Files not found");
  } else {
    result = deletion_.DeleteSelected(paths_, display_);
    outcome.message = FoundOr(result, "All selected files are deleted in " + code, "Files not found");
  }
  return outcome;
}

/// The messages of success are shown only when nothing failed.
void frmArchiveDelete::ShowOutcome(const Outcome& outcome) {
  const DeletionResult& result = outcome.result;
  std::string problem;
  if (result.failed > 0) {
    problem = fmt::format("{} files or folders of the archive could not be read or deleted; the first: {}",
                          result.failed, result.firstFailure);
    run_.log.WriteLog(problem, LogCategory::Error);
  }
  if (display_.IsCancelled()) return;
  if (!problem.empty()) return prompt_.ShowMessage(problem, MessageIcon::Exclamation, {});
  prompt_.ShowMessage(outcome.message, MessageIcon::Information, {});
}

/// Another run may have started while the message box was open, and may be about to file into an empty
/// folder.
void frmArchiveDelete::RemoveEmptyFolders() {
  RunLock lock;
  if (lock.Acquire(run_.files, {archive_}).empty()) deletion_.RemoveEmptyProductFolders(display_);
}

void frmArchiveDelete::reject() {
  if (isRunning_) return display_.RequestStop(true);
  QDialog::reject();
}

}  // namespace fieldpost
