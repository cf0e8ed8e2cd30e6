// Opens a file in the XML viewer, with no display needed, and prints in milliseconds when the first screen of
// the tree was drawn, when all was read, and the longest time that a timer of 10 ms had to wait meanwhile.
//
//   open_viewer HOME FILE

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <iostream>
#include <optional>

#include "common/PathText.h"
#include "platform/SqliteKeyStore.h"
#include "viewer/forms/frmXMLfile.h"

namespace {

using namespace fieldpost;

/// What the window needs, and nobody to ask.
struct Site {
  explicit Site(const std::filesystem::path& home)
      : keys(files, home / "registry.sqlite"), registry(keys), paths(files, registry, home) {}

  DiskFileSystem files;
  SystemClock clock;
  SqliteKeyStore keys;
  EditWinReg registry;
  InstallPaths paths;
  ModWriteLogFile log{files, clock, paths};
  UserPrompt prompt;
};

/// Begins with the window, ends with its last element.
class Opening {
 public:
  Opening(frmXMLfile& form, const std::filesystem::path& file) : form_(form) {
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { Look(); });
    time_.start();
    since_.start();
    timer_.start(10);
    form_.resize(800, 600);
    form_.Load(file);
    form_.show();
    Look();
  }

 private:
  void Look() {
    longest_ = std::max(longest_, since_.restart());
    if (first_ < 0 && form_.Tree().Size() > 0) {
      form_.grab();
      first_ = time_.elapsed();
    }
    if (form_.IsLoading()) return;
    std::cout << first_ << ' ' << time_.elapsed() << ' ' << longest_ << '\n';
    QCoreApplication::exit(form_.Tree().Size() > 0 ? 0 : 1);
    timer_.stop();
  }

  frmXMLfile& form_;
  QTimer timer_;
  QElapsedTimer time_;
  QElapsedTimer since_;
  qint64 first_ = -1;
  qint64 longest_ = 0;
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_LOGGING_RULES", "*.warning=false");
  const QApplication application(count, arguments);
  Site site(PathFromUtf8(arguments[1]));
  frmXMLfile form(site.files, site.log, site.prompt);
  std::optional<Opening> opening;
  QTimer::singleShot(0, &form, [&] { opening.emplace(form, PathFromUtf8(arguments[2])); });
  return QApplication::exec();
}
