// Opens the log viewer on today's log of a folder: log_viewer HOME. Prints the milliseconds from the
// beginning of the load to the first picture, and on to the picture of the end.
#include <QApplication>
#include <QElapsedTimer>
#include <QScrollBar>
#include <iostream>

#include "platform/SqliteKeyStore.h"
#include "viewer/forms/FrmLogFile.h"
#include "viewer/forms/WidgetLogText.h"

namespace {

using namespace fieldpost;

void Measure(const std::filesystem::path& home) {
  DiskFileSystem files;
  const SystemClock clock;
  SqliteKeyStore keys(files, home / "registry.sqlite");
  EditWinReg registry(keys);
  const InstallPaths paths(files, registry, home);
  ModWriteLogFile log(files, clock, paths);
  StatusDisplay display;
  QElapsedTimer time;
  time.start();
  FrmLogFile form(files, paths, log, display);
  form.resize(1200, 900);
  form.grab();
  const qint64 opened = time.restart();
  QScrollBar& rows = *form.findChild<WidgetLogText*>()->verticalScrollBar();
  rows.setValue(rows.maximum());
  form.grab();
  std::cout << opened << ' ' << time.elapsed() << '\n';
}

}  // namespace

int main(int argc, char* argv[]) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  if (argc != 2) return 2;
  Measure(argv[1]);
  return 0;
}
