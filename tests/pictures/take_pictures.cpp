// Saves a picture of every window in use: take_pictures FOLDER light|dark. Prints one line for each: its
// name, width and height in pixels, mean brightness (0 to 255), and number of colours.
#include <fmt/format.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QStyleFactory>
#include <QTabWidget>
#include <QTest>
#include <QTreeView>
#include <set>

#include "archive/forms/frmArchive.h"
#include "options/forms/WidgetNetworkDrives.h"
#include "shell/forms/MDIFieldpost.h"
#include "shell/forms/WidgetProgramIcon.h"
#include "support/WindowSite.h"
#include "viewer/forms/FrmLogFile.h"
#include "viewer/forms/frmXMLfile.h"

namespace fieldpost {
namespace {

QPalette DarkPalette() {
  QPalette palette(QColor(0x35, 0x36, 0x3A), QColor(0x2A, 0x2B, 0x2E));
  palette.setColor(QPalette::Base, QColor(0x1E, 0x1F, 0x22));
  palette.setColor(QPalette::AlternateBase, QColor(0x26, 0x27, 0x2A));
  palette.setColor(QPalette::Highlight, QColor(0x3D, 0x7E, 0xB0));
  palette.setColor(QPalette::Link, QColor(0x7F, 0xB8, 0xE0));
  return palette;
}

/// A site with some data, and the main window.
class Pictures {
 public:
  explicit Pictures(std::filesystem::path folder) : folder_(std::move(folder)) {
    FillArchive();
    FillLog();
    FillSettings();
  }

  /// Returns whether every picture could be saved.
  bool TakeAll() {
    window_.Load();
    window_.resize(1000, 680);
    TakeArchive();
    TakeLog();
    TakeViewer();
    TakeHelp();
    TakeDialog("mnuAboutFP", "about");
    TakeOptions();
    TakeDeletion();
    TakeSend();
    return taken_;
  }

 private:
  void FillArchive() {
    for (const char* code : {"GATE", "LIFT-A", "LIFT-B", "PUMP"}) {
      for (unsigned number = 1; number <= 12; ++number) {
        const std::string xml =
            test::FaultlogXml(code, std::string(number, 'P'), "20040312", "Line voltage low");
        site_.folder.Write(fmt::format("home/Faultlog/Archive/{0}/{0}-{1:02}.xml", code, number), xml);
      }
    }
    site_.folder.Write("home/Faultlog/Archive/GATE/torn.xml", "<FLFILE>");
  }

  void FillLog() {
    for (int run = 0; run < 8; ++run) {
      site_.program.log.WriteLog("Found 12 OK files           \r\nFound 1 Error files",
                                 LogCategory::SearchLatest);
      site_.program.log.WriteLog("Mail 1/1\r\nError: 0", LogCategory::Mail);
      site_.program.log.WriteLog("Reason: line 5: Premature end of data[..\\Error\\torn.xml]",
                                 LogCategory::Error);
    }
  }

  void FillSettings() {
    MailSettings& settings = site_.program.settings;
    settings.SendFault = "True";
    settings.SendPPC = "True";
    settings.UseZip = "True";
    settings.NumAttachments = "4";
    settings.Organization = "Muster & Partner";
    settings.MailUserName = "service";
    settings.MailPassword = "a long password";
    for (int number = 1; number <= 3; ++number) {
      site_.Latest(fmt::format("lift-{:02}.xml", number), test::FaultlogXml("LIFT-A"));
    }
  }

  void Save(QWidget& widget, const std::string& name) {
    QTest::qWait(100);  // until lists and the search index are complete
    const QImage picture = widget.grab().toImage();
    const QString file = PathToQt(folder_ / (name + ".png"));
    if (!picture.save(file)) {
      fmt::print(stderr, "cannot save {}\n", FromQt(file));
      taken_ = false;
    }
    Describe(name, picture);
  }

  static void Describe(const std::string& name, const QImage& picture) {
    std::set<QRgb> colours;
    std::int64_t gray = 0;
    for (int y = 0; y < picture.height(); ++y) {
      for (int x = 0; x < picture.width(); ++x) {
        const QRgb pixel = picture.pixel(x, y);
        colours.insert(pixel);
        gray += qGray(pixel);
      }
    }
    fmt::print("{} {} {} {} {}\n", name, picture.width(), picture.height(),
               gray / (std::int64_t{picture.width()} * picture.height()), colours.size());
  }

  void Command(const char* name) { window_.findChild<QAction*>(QString::fromLatin1(name))->trigger(); }

  template <class Form>
  Form& Child() {
    return *window_.findChild<Form*>();
  }

  /// Activates the archive. Returns its list of files, which has the focus.
  QTreeView* ArchiveList() {
    Command("mnuArchive");
    window_.activateWindow();
    static_cast<void>(QTest::qWaitForWindowActive(&window_));
    auto* const files = Child<frmArchive>().findChild<QTreeView*>(QStringLiteral("LVFileList"));
    files->setFocus();
    return files;
  }

  void TakeArchive() {
    auto& archive = Child<frmArchive>();
    for (const char* view : {"LargeIcons", "Smallcons", "List", "Details"}) {
      archive.findChild<QAction*>(QString::fromLatin1(view))->trigger();
      Save(archive, std::string("archive-") + view);
    }
    Save(window_, "main");
  }

  void TakeLog() {
    Command("mnuLogfile");
    Save(Child<FrmLogFile>(), "log");
  }

  void TakeViewer() {
    QTreeView* const files = ArchiveList();
    files->setCurrentIndex(files->model()->index(4, 0));
    QTest::keyClick(files, Qt::Key_Return);
    Save(Child<frmXMLfile>(), "xml");
    QTest::keyClick(&Child<frmXMLfile>(), Qt::Key_F, Qt::ControlModifier);
    Save(Child<frmXMLfile>(), "xml-find");
    window_.findChild<QMdiArea*>()->tileSubWindows();
    Save(window_, "main-windows");
  }

  void TakeHelp() {
    Command("mnuFPHelp");
    for (QWidget* const top : QApplication::topLevelWidgets()) {
      if (top->objectName() == QStringLiteral("frmHelp")) Save(*top, "help");
    }
  }

  void TakeDialog(const char* command, const std::string& name) {
    test::MessageBoxes boxes;
    boxes.onDialog = [&](QDialog& dialog) {
      Save(dialog, name);
      dialog.close();
    };
    Command(command);
  }

  void TakeOptions() {
    test::MessageBoxes boxes;
    boxes.onDialog = [&](QDialog& dialog) {
      auto& pages = *dialog.findChild<QTabWidget*>(QStringLiteral("SSTab1"));
      for (int page = 0; page < pages.count(); ++page) {
        pages.setCurrentIndex(page);
        Save(dialog, fmt::format("options-{}", page));
      }
      dialog.close();
    };
    Command("mnuOptions");
  }

  void TakeDeletion() {
    QTreeView* const files = ArchiveList();
    files->selectAll();
    test::MessageBoxes boxes;
    boxes.onDialog = [&](QDialog& dialog) {
      Save(dialog, "archive-delete");
      dialog.close();
    };
    QTest::keyClick(files, Qt::Key_Delete);
  }

  /// Takes the dialogs and message boxes of a send.
  void TakeSend() {
    QTimer timer;
    int number = 0;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
      QWidget* const top = QApplication::activeModalWidget();
      if (top == nullptr || !top->isVisible()) return;
      timer.stop();
      auto* const box = qobject_cast<QMessageBox*>(top);
      if (box != nullptr) Save(*box, fmt::format("message-{}", ++number));
      for (QWidget* const other : QApplication::topLevelWidgets()) {
        if (other->isVisible() && other->objectName() == QStringLiteral("frmSending"))
          Save(*other, "sending");
        if (other->isVisible() && other->objectName() == QStringLiteral("frmProcessPPC")) Save(*other, "ppc");
      }
      if (box != nullptr) QTest::keyClick(box, Qt::Key_Return);
      timer.start();
    });
    timer.start(20);
    site_.folder.Write("home/PPCData.xml", "<R>" + Entries() + "</R>");
    Command("mnuSendData");
  }

  static std::string Entries() {
    std::string entries;
    for (int i = 0; i < 300000; ++i) entries += "<PPCentry>a journey of 120 m, and what it took</PPCentry>\n";
    return entries;
  }

  std::filesystem::path folder_;
  test::WindowSite site_;
  std::unique_ptr<TopLevelWindows> desktop_ = SessionTopLevelWindows(true, "Fieldpost");
  SystemHostLookup hosts_;
  SystemIcmpEcho echo_;
  WidgetNetworkDrives drives_;
  MDIFieldpost window_{site_.program,
                       {site_.prompt, site_.display, site_.memory, *desktop_, hosts_, echo_, drives_}};
  bool taken_ = true;
};

}  // namespace
}  // namespace fieldpost

int main(int argc, char* argv[]) {
  QApplication application(argc, argv);
  if (argc != 3) return 2;
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  if (QString::fromLocal8Bit(argv[2]) == QStringLiteral("dark")) {
    QApplication::setPalette(fieldpost::DarkPalette());
  }
  QApplication::setWindowIcon(fieldpost::ProgramIcon());
  return fieldpost::Pictures(fieldpost::PathFromUtf8(argv[1])).TakeAll() ? 0 : 1;
}
