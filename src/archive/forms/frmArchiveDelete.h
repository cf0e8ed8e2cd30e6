// The dialog that deletes archived files by one of three rules.
#pragma once

#include <QDialog>
#include <memory>
#include <string>

#include "archive/ArchiveDeletion.h"
#include "common/RunLists.h"
#include "common/UserPrompt.h"
#include "common/forms/WidgetStatusDisplay.h"
#include "environment/RunContext.h"
#include "environment/RunLock.h"

namespace Ui {
class frmArchiveDelete;
}

namespace fieldpost {

/// Lets the user choose a rule, deletes, shows the result, removes the product-code folders that are now
/// empty, and closes. Deletes nothing while another run works on the Archive folder. Closing the dialog
/// during the deletion cancels it after the current file, without showing a result. What could not be read or
/// deleted is counted in one line, which is logged and is the result.
class frmArchiveDelete final : public QDialog {
  Q_OBJECT

 public:
  /// `productCode` is the folder that the archive list shows. What `run` and `prompt` refer to outlives the
  /// dialog.
  frmArchiveDelete(const RunContext& run, UserPrompt& prompt, std::string productCode,
                   QWidget* parent = nullptr);
  ~frmArchiveDelete() override;

  /// Sets the full paths of the files that the rule "Delete selected items" deletes, and chooses that rule
  /// unless there are none.
  void DeleteItems(PathList paths);

  /// Closes the dialog; during a deletion, cancels that instead, which closes the dialog when it has ended.
  void reject() override;

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  /// The result that is shown to the user.
  struct Outcome {
    DeletionResult result;
    std::string message;
  };

  void CheckArchive();
  void Delete();
  bool TakeLock(RunLock& lock);
  void SetRunning(bool isRunning);
  Outcome RunRule();
  void ShowOutcome(const Outcome& outcome);
  void RemoveEmptyFolders();

  std::unique_ptr<Ui::frmArchiveDelete> ui_;
  RunContext run_;
  UserPrompt& prompt_;
  std::filesystem::path archive_;
  std::string productCode_;
  ArchiveDeletion deletion_;
  WidgetStatusDisplay display_;
  PathList paths_;
  bool isChecked_ = false;
  bool isRunning_ = false;
};

}  // namespace fieldpost
