// The options dialog: the one place where the settings are edited.
#pragma once

#include <QDialog>
#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "common/UserPrompt.h"
#include "common/forms/WidgetMemory.h"
#include "environment/InstallPaths.h"
#include "options/OptionsStore.h"
#include "options/OptionsValidation.h"
#include "options/modMailServerPing.h"
#include "platform/FileSystem.h"
#include "platform/NetworkDrives.h"

class QCheckBox;
class QLineEdit;

namespace Ui {
class frmOptions;
}

namespace fieldpost {

/// Shows all options on five pages, and stores them when they are in order and OK is pressed. Until then
/// nothing of the program's settings changes, but for a partner ID that the service suite has set.
class frmOptions final : public QDialog {
  Q_OBJECT

 public:
  /// Loads the options, whether the dialog is shown later or never.
  frmOptions(OptionsStore& store, const FileSystem& files, const InstallPaths& paths, UserPrompt& prompt,
             modMailServerPing& ping, NetworkDrives& drives, WidgetMemory& memory, QWidget* parent = nullptr);
  ~frmOptions() override;

  /// Shows the dialog on a page, with the options as they are stored now, and returns when it was closed. One
  /// that is on the screen already only turns to the page, keeps what was typed, and this returns at once.
  void ShowPage(OptionsPage page);

  /// Closes without saving; not while the server is being tested.
  void reject() override;
  void done(int result) override;

 private:
  /// A box, and the setting that it shows.
  struct SettingBox {
    QLineEdit* box;
    std::string MailSettings::*setting;
  };
  struct SettingCheck {
    QCheckBox* box;
    std::string MailSettings::*setting;
  };
  /// A number that has a default, and what its box shows while the default is not wanted.
  struct NumberBox {
    QLineEdit* box;
    std::string_view byDefault;
    int highest;
    QString own;
  };

  [[nodiscard]] QSize FirstSize() const;
  void SetUpBoxes();
  void ConnectFolders();
  void ConnectMail();
  void ConnectButtons();

  void Load();
  void ShowValues();
  [[nodiscard]] OptionsValues ShownValues() const;
  [[nodiscard]] bool ValidateOptions(const OptionsValues& shown);
  void Save();
  void TellUnsaved();

  void ChooseFolderFor(QLineEdit& box, FolderButton button);
  void ChooseLatestFolder();
  void ChooseCertificates();
  void AddTypedFolder();
  void EnableDelete();
  void MapDrive();
  void DisconnectDrive();

  void UseDefaultNumbers(bool byDefault);
  void KeepPasswordMasked();
  void KeepPartnerIDClean();
  void TestServer();
  [[nodiscard]] bool ReachServer(std::string_view server);

  void Tell(const OptionsRefusal& refusal);
  [[nodiscard]] QWidget& Control(OptionsControl control) const;

  OptionsStore& store_;
  const FileSystem& files_;
  const InstallPaths& paths_;
  UserPrompt& prompt_;
  modMailServerPing& ping_;
  NetworkDrives& drives_;
  WidgetMemory& memory_;
  std::unique_ptr<Ui::frmOptions> ui_;
  std::array<SettingBox, 13> settingBoxes_{};
  std::array<SettingCheck, 4> settingChecks_{};
  std::array<NumberBox, 3> numberBoxes_{};
  OptionsValues loaded_;
};

}  // namespace fieldpost
