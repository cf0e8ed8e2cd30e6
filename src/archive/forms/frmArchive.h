// The archive browser.
#pragma once

#include <QWidget>
#include <filesystem>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "archive/ArchiveList.h"
#include "archive/ModCreatures.h"
#include "archive/forms/WidgetArchiveModel.h"
#include "common/RunLists.h"
#include "common/forms/WidgetMemory.h"
#include "common/forms/WidgetStatusDisplay.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"

class QAbstractItemView;
class QAction;
class QItemSelectionModel;

namespace Ui {
class frmArchive;
}

namespace fieldpost {

/// A child window of the main window that lists the archived files of one product code. It fills its list
/// when it is shown for the first time. Events are processed while the list is filled; a request for another
/// list, or closing the window, cancels the filling.
class frmArchive final : public QWidget {
  Q_OBJECT

 public:
  /// All arguments outlive the form.
  frmArchive(const FileSystem& files, const MailSettings& settings, ModWriteLogFile& log,
             WidgetMemory& memory, QWidget* parent = nullptr);
  ~frmArchive() override;

  /// Refills the list. With `firstTime` the first product code is shown and the flag is cleared; otherwise
  /// the shown one stays. A failure is logged. While a list is being filled, the call cancels that, requests
  /// another filling after it, and returns at once.
  void UpdateList(bool& firstTime);

 Q_SIGNALS:
  /// The user opens a file, which may have been removed since the list was filled.
  void OpenFileRequested(const std::filesystem::path& file);

  /// The user requests a deletion. `files` are the selected ones, at least one; `productCode` is their
  /// folder.
  void DeleteRequested(const fieldpost::PathList& files, const std::string& productCode);

 protected:
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  /// The selection by names, so that it can be restored after the list was refilled.
  struct Selection {
    std::string productCode;
    std::unordered_set<std::string> names;
    std::string current;
  };

  void SetUpViews();
  void SetUpActions();
  void SetUpToolbar();
  void ShowView(const QAction* action);
  void ShowIcons(const QAction& action);
  [[nodiscard]] QAbstractItemView& View() const;
  void Refresh();
  void UpdateOnce(bool firstTime);
  void ShowProductCodes();
  void SelectProductCode(int place);
  void FillList();
  void LogFailure(int number, std::string_view description);
  void KeepSelection();
  void RestoreSelection();
  void FitIcons();
  [[nodiscard]] std::filesystem::path ArchiveFolder() const;
  [[nodiscard]] std::filesystem::path PathOf(const QModelIndex& index) const;
  void OpenCurrent();
  void OpenRow(const QModelIndex& index);
  void DeleteSelected();

  std::unique_ptr<Ui::frmArchive> ui_;
  const FileSystem& files_;
  const MailSettings& settings_;
  ModWriteLogFile& log_;
  WidgetMemory& memory_;
  ModCreatures creatures_;
  ArchiveList list_;
  WidgetArchiveModel model_;
  WidgetArchiveOrder order_;
  WidgetStatusDisplay display_;
  std::vector<std::string> productCodes_;  // the entries of the combo box, in its order
  std::string shownCode_;                  // the product code of the rows that are shown
  Selection kept_;
  bool isLoaded_ = false;
  bool isFilling_ = false;
  bool isRequested_ = false;  // another filling was requested meanwhile
  bool isFirstRequested_ = false;
  bool isClosing_ = false;
};

}  // namespace fieldpost
