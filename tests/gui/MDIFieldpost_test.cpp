#include "shell/forms/MDIFieldpost.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QComboBox>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>
#include <QTreeView>

#include "environment/RegistryKeys.h"
#include "options/forms/WidgetNetworkDrives.h"
#include "shell/forms/frmHelp.h"
#include "support/WindowSite.h"
#include "viewer/forms/FrmLogFile.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A fake desktop with the given windows.
struct Desktop final : TopLevelWindows {
  std::vector<TopLevelWindow> windows;

  [[nodiscard]] std::vector<TopLevelWindow> OnScreenOf(std::uint64_t) override { return windows; }
};

struct MainWindow : test::WindowSite {
  Desktop desktop;
  SystemHostLookup hosts;
  SystemIcmpEcho echo;
  WidgetNetworkDrives drives;
  MDIFieldpost window{program, {prompt, display, memory, desktop, hosts, echo, drives}};

  /// Triggers a command of the menu.
  void Command(const char* name) { window.findChild<QAction*>(name)->trigger(); }

  /// Returns the titles of the child windows, in the order in which they were opened.
  std::vector<std::string> Children() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    std::vector<std::string> titles;
    for (const QMdiSubWindow* child : Area().subWindowList()) titles.push_back(FromQt(child->windowTitle()));
    return titles;
  }

  QMdiArea& Area() { return *window.findChild<QMdiArea*>(); }
};

TEST(MDIFieldpost, KeepsItsTitleWithAMaximisedChild) {
  MainWindow site;
  site.window.show();
  auto* const child = new QWidget;
  child->setWindowTitle("Log File");
  QMdiSubWindow* const frame = site.Area().addSubWindow(child);
  for (const bool maximised : {false, true, false, true}) {
    if (maximised) {
      frame->showMaximized();
    } else {
      frame->showNormal();
    }
    EXPECT_EQ(FromQt(site.window.windowTitle()), "Fieldpost") << maximised;
    child->setWindowTitle(child->windowTitle() + "x");
    EXPECT_EQ(FromQt(site.window.windowTitle()), "Fieldpost") << maximised;
  }
  frame->close();
  EXPECT_EQ(FromQt(site.window.windowTitle()), "Fieldpost");
}

TEST(MDIFieldpost, ShowsOnlyAMessageWhenAnotherCopyRuns) {
  MainWindow site;
  site.desktop.windows = {{1, "Fieldpost", true}, {2, "Fieldpost", true}};
  test::MessageBoxes boxes;
  EXPECT_FALSE(site.window.Load());
  EXPECT_THAT(boxes.seen,
              ElementsAre(test::SeenBox{"Fieldpost is already open", QMessageBox::NoIcon, "Fieldpost"}));
  EXPECT_FALSE(site.window.isVisible());
  EXPECT_FALSE(std::filesystem::exists(site.program.log.TodaysFile()));
  EXPECT_EQ(site.program.registry.QueryText(HKEY_LOCAL_MACHINE, ProgramFolderKey, DefaultValue), "");
}

TEST(MDIFieldpost, StartsWhenItIsTheOnlyCopy) {
  MainWindow site;
  site.desktop.windows = {{1, "Fieldpost", true}, {2, "Fieldpost", false}, {3, "Fieldpost - x", true}};
  test::MessageBoxes boxes;
  EXPECT_TRUE(site.window.Load());
  EXPECT_THAT(boxes.seen, IsEmpty());
  EXPECT_TRUE(site.window.isVisible());
  EXPECT_THAT(site.Log(), ElementsAre("[Log File]"));
  EXPECT_EQ(site.program.registry.QueryText(HKEY_LOCAL_MACHINE, ProgramFolderKey, DefaultValue),
            Utf8FromPath(site.home));
}

TEST(MDIFieldpost, ShowsTheCurrentLogEachTime) {
  MainWindow site;
  site.window.Load();
  const auto shown = [&] { return site.window.findChildren<FrmLogFile*>().size(); };
  site.Command("mnuLogfile");
  EXPECT_THAT(site.Children(), testing::Contains("Log File    FPProg_15032004.log"));
  EXPECT_EQ(shown(), 1);
  site.Command("mnuLogfile");
  EXPECT_THAT(site.Children(), testing::Contains("Log File    FPProg_15032004.log"));
  EXPECT_EQ(shown(), 1);
}

TEST(MDIFieldpost, ShowsTheAboutBox) {
  MainWindow site;
  site.window.Load();
  std::string title;
  test::MessageBoxes boxes;
  boxes.onDialog = [&](QDialog& dialog) {
    title = FromQt(dialog.windowTitle());
    QTest::keyClick(&dialog, Qt::Key_Escape);
  };
  site.Command("mnuAboutFP");
  EXPECT_EQ(title, "About Fieldpost");
}

/// Returns the visible help windows.
std::vector<QWidget*> HelpWindows() {
  std::vector<QWidget*> windows;
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (qobject_cast<frmHelp*>(window) != nullptr && window->isVisible()) windows.push_back(window);
  }
  return windows;
}

TEST(MDIFieldpost, OpensTheHelpByMenuAndKey) {
  MainWindow site;
  site.window.Load();
  site.Command("mnuFPHelp");
  ASSERT_EQ(HelpWindows().size(), 1U);
  HelpWindows()[0]->close();
  EXPECT_EQ(HelpWindows().size(), 0U);
  for (int i = 0; i < 2; ++i) {  // the second time, it is open already
    site.window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&site.window));
    QTest::keyClick(&site.window, Qt::Key_F1);
  }
  EXPECT_EQ(HelpWindows().size(), 1U);
  EXPECT_TRUE(std::filesystem::exists(site.home / "FPhelp.hlp"));
  site.Command("mnuClose");
  EXPECT_EQ(HelpWindows().size(), 0U);
}

TEST(MDIFieldpost, OpensTheHelpOverADialog) {
  MainWindow site;
  site.window.Load();
  site.Command("mnuFPHelp");
  std::vector<QWidget*> windows;
  bool ofTheDialog = false;
  test::MessageBoxes boxes;
  boxes.onDialog = [&](QDialog& dialog) {
    QTest::keyClick(&dialog, Qt::Key_F1);
    windows = HelpWindows();
    ofTheDialog = windows.size() == 1 && windows[0]->parentWidget() == &dialog;
    QTest::keyClick(&dialog, Qt::Key_Escape);
  };
  site.Command("mnuAboutFP");
  EXPECT_TRUE(ofTheDialog);
  EXPECT_EQ(HelpWindows().size(), 0U);
}

TEST(MDIFieldpost, ClosesEveryWindow) {
  MainWindow site;
  site.window.Load();
  site.Command("mnuLogfile");
  site.Command("mnuClose");
  EXPECT_FALSE(site.window.isVisible());
  EXPECT_THAT(site.Children(), IsEmpty());
}

TEST(MDIFieldpost, DestroysTheHelpWithItself) {
  {
    MainWindow site;
    site.window.Load();
    site.Command("mnuFPHelp");
    ASSERT_EQ(HelpWindows().size(), 1U);
  }
  EXPECT_EQ(HelpWindows().size(), 0U);
}

TEST(MDIFieldpost, ClosesTheHelpWithItself) {
  MainWindow site;
  site.window.Load();
  site.Command("mnuFPHelp");
  ASSERT_EQ(HelpWindows().size(), 1U);
  site.window.close();
  EXPECT_EQ(HelpWindows().size(), 0U);
}

TEST(MDIFieldpost, ReopensTheHelpOverAMessageBox) {
  MainWindow site;
  site.window.Load();
  site.Command("mnuFPHelp");
  ASSERT_EQ(HelpWindows().size(), 1U);
  HelpWindows()[0]->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(HelpWindows()[0]));
  bool ofTheBox = false;
  QTimer::singleShot(0, [&] {
    QWidget* const box = QApplication::activeModalWidget();
    QTest::keyClick(box, Qt::Key_F1);
    ofTheBox = HelpWindows().size() == 1 && HelpWindows()[0]->parentWidget() == box;
    QTest::keyClick(box, Qt::Key_Return);
  });
  site.prompt.ShowMessage("Mail(s) has been Sent!", MessageIcon::Information, "");
  EXPECT_TRUE(ofTheBox);
  EXPECT_EQ(HelpWindows().size(), 0U);
}

TEST(MDIFieldpost, EndsWhenClosedDuringTheStart) {
  MainWindow site;
  QObject::connect(&site.Area(), &QMdiArea::subWindowActivated, &site.window, &QWidget::close);
  EXPECT_FALSE(site.window.Load());
  EXPECT_THAT(site.Log(), ElementsAre("[Log File]"));
}

TEST(MDIFieldpost, ShowsOneArchiveWindow) {
  MainWindow site;
  site.window.Load();
  site.Command("mnuArchive");
  EXPECT_THAT(site.Children(), ElementsAre("Archive"));
  site.Area().subWindowList()[0]->close();
  EXPECT_THAT(site.Children(), IsEmpty());
  site.Command("mnuArchive");
  EXPECT_THAT(site.Children(), ElementsAre("Archive"));
}

TEST(MDIFieldpost, RestoresAMinimisedArchive) {
  MainWindow site;
  site.window.Load();
  QMdiSubWindow& archive = *site.Area().subWindowList().at(0);
  archive.showMinimized();
  site.Command("mnuLogfile");
  site.Command("mnuArchive");
  EXPECT_FALSE(archive.isMinimized());
  EXPECT_EQ(site.Area().activeSubWindow(), &archive);
}

/// A main window with files in its archive.
struct FiledWindow : MainWindow {
  FiledWindow() {
    for (const char* name : {"A/one.xml", "A/two.xml", "B/three.xml"}) {
      folder.Write(std::string("home/Faultlog/Archive/") + name, "<FLFILE><MODEIND>P</MODEIND></FLFILE>");
    }
    window.Load();
    EXPECT_TRUE(QTest::qWaitFor([&] { return List().model()->rowCount() > 0; }));
  }

  QTreeView& List() { return *window.findChild<QTreeView*>("LVFileList"); }
  QComboBox& Codes() { return *window.findChild<QComboBox*>("CmbProdcode"); }

  void DoubleClick(int row) {
    const QPoint place = List().visualRect(List().model()->index(row, 0)).center();
    QTest::mouseClick(List().viewport(), Qt::LeftButton, {}, place);
    QTest::mouseDClick(List().viewport(), Qt::LeftButton, {}, place);
  }
};

TEST(MDIFieldpost, RefillsTheArchiveWhenTheStartChangesItsFolder) {
  MainWindow site;
  site.folder.Write("home/Faultlog/Archive/A/one.xml", "<FLFILE><MODEIND>P</MODEIND></FLFILE>");
  site.program.settings.ArchiveFolder.clear();
  site.window.Load();
  auto& list = *site.window.findChild<QTreeView*>("LVFileList");
  EXPECT_TRUE(QTest::qWaitFor([&] { return list.model()->rowCount() == 1; }, 2000));
}

TEST(MDIFieldpost, OpensFilesInOneViewer) {
  FiledWindow site;
  for (const auto& [row, name] : {std::pair(0, "one.xml"), std::pair(1, "two.xml")}) {
    site.DoubleClick(row);
    const std::filesystem::path file = site.Tree("Archive") / "A" / name;
    EXPECT_THAT(site.Children(), ElementsAre("Archive", "XML File    " + Utf8FromPath(file)));
  }
  std::filesystem::remove(site.Tree("Archive") / "A" / "one.xml");
  site.DoubleClick(0);
  EXPECT_THAT(site.Children(), ElementsAre("Archive")) << "the file is gone, and the viewer with it";
}

TEST(MDIFieldpost, ShowsTheFirstProductCodeAfterADeletion) {
  FiledWindow site;
  site.Codes().setCurrentIndex(1);
  ASSERT_TRUE(QTest::qWaitFor([&] { return site.List().model()->rowCount() == 1; }));
  site.List().selectAll();
  test::MessageBoxes boxes({Qt::Key_Y});
  boxes.onDialog = [](QDialog& dialog) {
    auto* const button = dialog.findChild<QPushButton*>("cmdDelete");
    // Posted, so that the message boxes that follow are answered too.
    QTimer::singleShot(0, button, [button] { QTest::mouseClick(button, Qt::LeftButton); });
  };
  site.Command("Delete");
  EXPECT_FALSE(std::filesystem::exists(site.Tree("Archive") / "B"));
  EXPECT_EQ(site.Codes().currentText(), QStringLiteral("A"));
  EXPECT_EQ(site.List().model()->rowCount(), 2);
}

/// Returns the page that the options dialog shows, and closes the dialog.
std::string PageOf(QDialog& dialog) {
  const auto* const pages = dialog.findChild<QTabWidget*>("SSTab1");
  const std::string page = pages == nullptr ? "none" : std::to_string(pages->currentIndex());
  QTest::keyClick(&dialog, Qt::Key_Escape);
  return FromQt(dialog.windowTitle()) + " " + page;
}

TEST(MDIFieldpost, ShowsTheOptions) {
  MainWindow site;
  site.window.Load();
  std::vector<std::string> pages;
  test::MessageBoxes boxes;
  boxes.onDialog = [&](QDialog& dialog) { pages.push_back(PageOf(dialog)); };
  site.Command("mnuOptions");
  EXPECT_THAT(pages, ElementsAre("Options 0"));
}

TEST(MDIFieldpost, ShowsTheOptionsForEachMissingSettingBeforeASend) {
  MainWindow site;
  site.program.settings.SMTPServer.clear();
  site.program.settings.PartnerID.clear();
  site.window.Load();
  std::vector<std::string> pages;
  test::MessageBoxes boxes;
  boxes.onDialog = [&](QDialog& dialog) { pages.push_back(PageOf(dialog)); };
  site.Command("mnuSendData");
  EXPECT_THAT(
      boxes.seen,
      ElementsAre(test::SeenBox{"You have to setup mail options (SMTP Server or Sender address box is empty)",
                                QMessageBox::Warning, "Fieldpost"},
                  test::SeenBox{"You have to setup mail options (PartnerID box is empty)",
                                QMessageBox::Warning, "Fieldpost"}));
  EXPECT_THAT(pages, ElementsAre("Options 3", "Options 4"));
}

TEST(MDIFieldpost, SendsInADialogAndRefillsTheArchive) {
  MainWindow site;
  site.program.settings.SendFault = "True";
  site.Latest("new.xml", test::FaultlogXml("NEW"));
  site.window.Load();
  auto& codes = *site.window.findChild<QComboBox*>("CmbProdcode");
  std::vector<std::string> dialogs;
  test::MessageBoxes boxes;
  boxes.onDialog = [&](QDialog& dialog) { dialogs.push_back(FromQt(dialog.windowTitle())); };
  QTimer::singleShot(0, [&] {
    if (QWidget* const dialog = QApplication::activeModalWidget())
      boxes.onDialog(static_cast<QDialog&>(*dialog));
  });
  site.Command("mnuSendData");
  EXPECT_THAT(dialogs, testing::Contains("Sending Data"));
  EXPECT_THAT(boxes.seen,
              ElementsAre(test::SeenBox{"Mail(s) has been Sent!", QMessageBox::Information, "Fieldpost"}));
  EXPECT_EQ(codes.currentText(), QStringLiteral("NEW"));
  EXPECT_EQ(site.window.findChild<QTreeView*>("LVFileList")->model()->rowCount(), 1);
}

/// Describes a menu in lines of caption and name; the lines of a sub-menu follow it, indented.
void Describe(const QMenu& menu, const std::string& indent, std::vector<std::string>& lines) {
  for (const QAction* action : menu.actions()) {
    if (action->isSeparator()) {
      lines.push_back(indent + "---- " + FromQt(action->objectName()));
    } else if (const QMenu* const below = action->menu<QMenu*>()) {
      lines.push_back(indent + FromQt(below->title()) + " " + FromQt(below->objectName()));
      Describe(*below, indent + "  ", lines);
    } else {
      lines.push_back(indent + FromQt(action->text()) + " " + FromQt(action->objectName()));
    }
  }
}

TEST(MDIFieldpost, HasTheGivenMenu) {
  MainWindow site;
  std::vector<std::string> lines;
  for (const QAction* action : site.window.menuBar()->actions()) {
    const QMenu& menu = *action->menu<QMenu*>();
    lines.push_back(FromQt(menu.title()) + " " + FromQt(menu.objectName()));
    Describe(menu, "  ", lines);
  }
  EXPECT_THAT(lines,
              ElementsAre("&File mnuFile", "  &Mail mnuMail", "    &Send Data (Faultlog/PPC) mnuSendData",
                          "  ---- mnuLine1", "  &Close mnuClose", "&View mnuView", "  &Options mnuOptions",
                          "  ---- mnuvali1", "  &Archive Windows mnuArchive", "  ---- mnuvali2",
                          "  &View Log File mnuLogfile", "&Help mnuHelp", "  Fieldpost &Help mnuFPHelp",
                          "  ---- mnuvali3", "  &About Fieldpost... mnuAboutFP"));
}

}  // namespace
}  // namespace fieldpost
