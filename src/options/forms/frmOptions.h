// The options dialog.
#pragma once

#include <QDialog>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

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

/// What the options dialog works with; all of it outlives the dialog.
struct OptionsContext {
  OptionsStore& store;
  const FileSystem& files;
  const InstallPaths& paths;
  UserPrompt& prompt;
  modMailServerPing& ping;
  NetworkDrives& drives;
  WidgetMemory& memory;
};

/// Shows all options on five pages, and saves them when OK is pressed and they are valid. Until then the
/// program's settings do not change, except for a partner ID that the service suite has set.
class frmOptions final : public QDialog {
  Q_OBJECT

 public:
  /// Loads the options, whether the dialog is shown later or never.
  explicit frmOptions(const OptionsContext& context, QWidget* parent = nullptr);
  ~frmOptions() override;

  /// Shows the dialog on a page, with the options as they are stored now, and returns when the user has
  /// closed it. A dialog that is visible already only turns to the page and keeps what was typed; the call
  /// then returns at once.
  void ShowPage(OptionsPage page);

  /// Closes without saving. Does nothing while the server is being tested.
  void reject() override;
  void done(int result) override;

 private:
  /// A text box and the setting that it shows.
  struct SettingBox {
    QLineEdit* box;
    std::string MailSettings::*setting;
  };
  struct SettingCheck {
    QCheckBox* box;
    std::string MailSettings::*setting;
  };
  /// A number with a default, and the user's own number, which its box shows while the default is not chosen.
  struct NumberBox {
    QLineEdit* box;
    int byDefault;
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
  void ShowUnsaved(const std::vector<std::string>& places);

  void ChooseFolderFor(QLineEdit& box, FolderButton button);
  void ChooseLatestFolder();
  void ChooseCertificates();
  void AddTypedFolder();
  void EnableDelete();

  void UseDefaultNumbers(bool byDefault);
  void KeepPasswordMasked();
  void KeepPartnerIDClean();
  void TestServer();
  [[nodiscard]] PingResult PingServer(std::string_view server);

  void ShowRefusal(const OptionsRefusal& refusal);
  void ShowDriveProblem(const std::string& problem);
  [[nodiscard]] QWidget& Control(OptionsControl control) const;

  OptionsContext context_;
  std::unique_ptr<Ui::frmOptions> ui_;
  std::array<SettingBox, 13> settingBoxes_{};
  std::array<SettingCheck, 4> settingChecks_{};
  std::array<NumberBox, 3> numberBoxes_{};
  OptionsValues loaded_;
};

}  // namespace fieldpost
