// The archive browser: the filed faultlogger files of one product code, a child of the main window.
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

/// Lists a product code's files, opens them and has them deleted. It fills itself soon after it is shown
/// first. While a list is being filled the window answers; a wish for another list ends the one in hand, and
/// so does closing the window.
class frmArchive final : public QWidget {
  Q_OBJECT

 public:
  /// Everything handed over outlives the form.
  frmArchive(const FileSystem& files, const MailSettings& settings, ModWriteLogFile& log,
             WidgetMemory& memory, QWidget* parent = nullptr);
  ~frmArchive() override;

  /// Lists anew. With `firstTime` the first product code is shown and the flag is cleared, else the one that
  /// was. A failure goes to the log. Called while a list is being filled, it only leaves word for when that
  /// one has ended, and returns at once.
  void UpdateList(bool& firstTime);

 Q_SIGNALS:
  /// The user wants to see a file. It was there when the list was filled, and may be gone.
  void OpenFileRequested(const std::filesystem::path& file);

  /// The user wants to delete. `files` are the selected ones, never none; `productCode` is the folder that
  /// they are in.
  void DeleteRequested(const fieldpost::PathList& files, const std::string& productCode);

 protected:
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  /// What is selected, by names, so that it can be found again in another list.
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
  std::vector<std::string> productCodes_;  // those in the combo box, in its order
  std::string shownCode_;                  // of the rows that are shown
  Selection kept_;
  bool loaded_ = false;
  bool filling_ = false;
  bool wanted_ = false;  // another list, once the one in hand has ended
  bool wantedFirst_ = false;
  bool closing_ = false;
};

}  // namespace fieldpost
