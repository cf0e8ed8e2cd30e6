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

/// Asks for a rule, deletes, tells what came of it, removes the product-code folders that are empty then, and
/// closes. Nothing is deleted while another run works on the Archive folder. Closing it while it deletes ends
/// that after the file in hand; nothing is told then. What could not be deleted is told by one line of the
/// log.
class frmArchiveDelete final : public QDialog {
  Q_OBJECT

 public:
  /// `productCode` is the folder that the archive list shows. What `run` and `prompt` refer to outlives the
  /// dialog.
  frmArchiveDelete(const RunContext& run, UserPrompt& prompt, std::string productCode,
                   QWidget* parent = nullptr);
  ~frmArchiveDelete() override;

  /// Hands over the full paths of the files that are selected in the archive list.
  void DeleteItems(PathList paths);

  /// Closes, or has the deletion end, which closes.
  void reject() override;

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  /// What the user is told in the end.
  struct Outcome {
    DeletionResult result;
    std::string message;
  };

  void LookAtArchive();
  void Delete();
  bool TakeLock(RunLock& lock);
  void SetRunning(bool running);
  Outcome RunRule();
  void Tell(const Outcome& outcome);
  void RemoveEmptyFolders();

  std::unique_ptr<Ui::frmArchiveDelete> ui_;
  RunContext run_;
  UserPrompt& prompt_;
  std::filesystem::path archive_;
  std::string productCode_;
  ArchiveDeletion deletion_;
  WidgetStatusDisplay display_;
  PathList paths_;
  bool looked_ = false;
  bool running_ = false;
};

}  // namespace fieldpost
