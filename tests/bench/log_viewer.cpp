// Opens the log viewer on today's log of a folder: log_viewer HOME. Prints milliseconds: from the start of
// the load to the first picture, from there until the whole text is shown, the longest time between two turns
// of the event loop meanwhile, and the picture of the end; then a search through the whole text that finds
// nothing, and the longest time between two turns of the event loop meanwhile.
#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <iostream>

#include "platform/SqliteKeyStore.h"
#include "viewer/forms/FrmLogFile.h"

namespace {

using namespace fieldpost;

/// Processes events until `condition` holds. Returns the longest turn of the event loop, in milliseconds.
template <class Condition>
qint64 LongestTurn(Condition condition) {
  QElapsedTimer turn;
  qint64 longest = 0;
  while (!condition()) {
    turn.start();
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    longest = std::max(longest, turn.elapsed());
  }
  return longest;
}

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
  form.show();
  form.grab();
  const qint64 opened = time.restart();
  const qint64 loadingTurn = LongestTurn([&] { return !form.IsLoading(); });
  const qint64 loaded = time.restart();
  auto& view = *form.findChild<QPlainTextEdit*>();
  view.moveCursor(QTextCursor::End);
  form.grab();
  const qint64 atEnd = time.restart();
  const QSignalSpy found(&form, &FrmLogFile::FindEnded);
  auto& box = *form.findChild<QLineEdit*>(QStringLiteral("txtFind"));
  box.setText(QStringLiteral("of these there are none"));
  QTest::keyClick(&box, Qt::Key_Return);
  const qint64 searchingTurn = LongestTurn([&] { return !found.isEmpty(); });
  std::cout << opened << ' ' << loaded << ' ' << loadingTurn << ' ' << atEnd << ' ' << time.elapsed() << ' '
            << searchingTurn << '\n';
}

}  // namespace

int main(int argc, char* argv[]) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  if (argc != 2) return 2;
  Measure(argv[1]);
  return 0;
}
