// The entry point of the library that holds the windows.
#include <fmt/format.h>

#include <QApplication>
#include <cstdio>
#include <exception>

#include "common/forms/MessageBoxPrompt.h"
#include "common/forms/WidgetMemory.h"
#include "common/forms/WidgetStatusDisplay.h"
#include "options/forms/WidgetNetworkDrives.h"
#include "platform/Clock.h"
#include "platform/Display.h"
#include "platform/FileSystem.h"
#include "platform/ProgramFolder.h"
#include "platform/SqliteKeyStore.h"
#include "shell/FieldpostProgram.h"
#include "shell/forms/MDIFieldpost.h"
#include "shell/forms/WidgetProgramIcon.h"
#include "smtp/SmtpMail.h"

namespace {

using namespace fieldpost;

constexpr int Failed = 1;
constexpr int NoWindow = 2;

int ShowWindow(int& argc, char** argv) {
  DiskFileSystem files;
  const SystemClock clock;
  const std::filesystem::path ownFolder = OwnFolder();
  MakeOwnFolder(files, ownFolder);
  SqliteKeyStore keys(files, RegistryFile());
  MessageBoxPrompt prompt;
  WidgetStatusDisplay display;
  SmtpMail transport(files, clock, display);
  FieldpostProgram program({files, clock, keys, transport, prompt, display}, ownFolder);

  const QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("fieldpost"));
  QApplication::setWindowIcon(ProgramIcon());
  WidgetMemory memory(ownFolder);
  const auto desktop =
      SessionTopLevelWindows(QGuiApplication::platformName() == QStringLiteral("xcb"), "Fieldpost");
  SystemHostLookup hosts;
  SystemIcmpEcho echo;
  WidgetNetworkDrives drives;
  MDIFieldpost window(program, {prompt, display, memory, *desktop, hosts, echo, drives});
  return window.Load() ? QApplication::exec() : 0;
}

}  // namespace

/// Shows the main window, and returns the program's exit status when it was closed. No exception leaves the
/// library.
extern "C" Q_DECL_EXPORT int FieldpostWindow(int argc, char** argv) {
  try {
    const std::string problem = DisplayProblem();
    if (problem.empty()) return ShowWindow(argc, argv);
    fmt::print(stderr, "{}\n", problem);
    return NoWindow;
  } catch (const std::exception& error) {
    fmt::print(stderr, "fieldpost: {}\n", error.what());
    return Failed;
  }
}
