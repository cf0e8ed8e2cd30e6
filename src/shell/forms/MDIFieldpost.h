// The main window: a frame that holds the program's other windows, and their menu.
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

/// What the windows are given of the world, beside what the program has of it.
struct WindowPorts {
  MessageBoxPrompt& prompt;
  WidgetStatusDisplay& display;
  WidgetMemory& memory;
  TopLevelWindows& desktop;
  HostLookup& hosts;
  IcmpEcho& echo;
  NetworkDrives& drives;
};

/// The frame with its menu. It keeps its title "Fieldpost" whatever happens inside it, because a second start
/// of the program looks for a window of that title.
class MDIFieldpost final : public QMainWindow {
  Q_OBJECT

 public:
  /// Tries the components; shows nothing yet. Everything handed over outlives the window.
  MDIFieldpost(FieldpostProgram& program, const WindowPorts& ports);
  ~MDIFieldpost() override;

  /// The start: shows the window with the archive in it, makes the folder tree, begins the day's log. When
  /// another copy of the program runs it shows nothing but says so; false then, and when the window was
  /// closed before the start was over: the program is to end.
  bool Load();

  /// Closes every window of the program, which ends it.
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
  /// Lists anew when another folder is the Archive after the change.
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
