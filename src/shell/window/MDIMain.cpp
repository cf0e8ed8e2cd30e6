// Where the library of the windows begins: the program as somebody at the screen has it.
#include <QApplication>

#include "common/MessageBoxPrompt.h"
#include "common/WidgetMemory.h"
#include "common/WidgetStatusDisplay.h"
#include "mail/SmtpMail.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/ProgramFolder.h"
#include "platform/SqliteKeyStore.h"
#include "shell/FieldpostProgram.h"
#include "shell/MDIFieldpost.h"

/// Shows the main window; returns the program's exit status when it was closed.
extern "C" Q_DECL_EXPORT int FieldpostWindow(int argc, char** argv) {
  using namespace fieldpost;
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
  QApplication::setApplicationDisplayName({});
  WidgetMemory memory(ownFolder);
  MDIFieldpost window(program, {prompt, display, memory});
  return window.Load() ? QApplication::exec() : 0;
}
