// The main window.
#pragma once

#include <QMainWindow>
#include <QPointer>
#include <filesystem>
#include <functional>
#include <memory>

#include "common/forms/MessageBoxPrompt.h"
#include "common/forms/WidgetMemory.h"
#include "common/forms/WidgetStatusDisplay.h"
#include "options/forms/frmOptions.h"
#include "options/modMailServerPing.h"
#include "platform/HostLookup.h"
#include "platform/IcmpEcho.h"
#include "platform/NetworkDrives.h"
#include "platform/TopLevelWindows.h"
#include "shell/FieldpostProgram.h"
#include "shell/SingleInstanceGuard.h"
#include "shell/StartUp.h"

class QMdiSubWindow;

namespace Ui {
class MDIFieldpost;
}

namespace fieldpost {

/// The seams that the windows use besides those of the program; all of them outlive the windows.
struct WindowPorts {
  MessageBoxPrompt& prompt;
  WidgetStatusDisplay& display;
  WidgetMemory& memory;
  TopLevelWindows& desktop;
  HostLookup& hosts;
  IcmpEcho& echo;
  NetworkDrives& drives;
};

/// The multiple-document frame with the menu. It keeps its title "Fieldpost" whatever child window is
/// maximised, because a second start of the program searches for a window with that title.
class MDIFieldpost final : public QMainWindow {
  Q_OBJECT

 public:
  /// Checks the components; shows nothing yet. The program outlives the window.
  MDIFieldpost(FieldpostProgram& program, const WindowPorts& ports);
  ~MDIFieldpost() override;

  /// Shows the window with the archive in it, creates the folder tree, and writes the first line of the day's
  /// log. When another copy of the program is running, shows only a message that says so. Returns whether the
  /// program continues: false after that message, and when the user closed the window before the start was
  /// complete.
  bool Load();

  /// Closes every window of the program, which ends the program.
  void UnloadAllForms();

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void ConnectMenu();
  void KeepTitle();
  void SendData();
  frmOptions& Options();
  void ShowOptions(OptionsPage page);
  void ShowArchive();
  void RefreshArchive(bool firstTime);
  /// Runs `change`, and refills the archive list when the Archive folder is another one then.
  void RefreshArchiveAfter(const std::function<void()>& change);
  void OpenFile(const std::filesystem::path& file);
  void ShowDeletion(const PathList& files, const std::string& productCode);
  void ShowLogFile();
  void ShowHelp();
  void ShowAbout();
  template <class Form>
  QMdiSubWindow* Find() const;
  void ShowChild(std::unique_ptr<QWidget> form);
  template <class Form>
  void CloseChild();

  std::unique_ptr<Ui::MDIFieldpost> ui_;
  FieldpostProgram& program_;
  WindowPorts ports_;
  StartUp startUp_;
  SingleInstanceGuard guard_;
  modMailServerPing ping_;
  std::unique_ptr<frmOptions> options_;
  QPointer<QWidget> help_;
};

}  // namespace fieldpost
