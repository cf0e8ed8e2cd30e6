#include "shell/MDIFieldpost.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTimer>

#include "archive/FrmLogFile.h"
#include "environment/RegistryKeys.h"
#include "shell/frmHelp.h"
#include "support/WindowSite.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The desktop as the test wants it.
struct Desktop final : TopLevelWindows {
  std::vector<TopLevelWindow> windows;

  [[nodiscard]] std::vector<TopLevelWindow> OnLevelOf(std::uint64_t) override { return windows; }
};

struct MainWindow : test::WindowSite {
  Desktop desktop;
  SystemHostLookup hosts;
  SystemIcmpEcho echo;
  DesktopNetworkDrives drives;
  MDIFieldpost window{program, {prompt, display, memory, desktop, hosts, echo, drives}};

  /// Takes a command of the menu, as a click on it does.
  void Command(const char* name) { window.findChild<QAction*>(name)->trigger(); }

  /// The titles of the child windows, in the order in which they were opened.
  std::vector<std::string> Children() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    std::vector<std::string> titles;
    for (const QMdiSubWindow* child : Area().subWindowList()) titles.push_back(FromQt(child->windowTitle()));
    return titles;
  }

  QMdiArea& Area() { return *window.findChild<QMdiArea*>(); }
};

TEST(MDIFieldpost, KeepsItsTitleWhateverIsInIt) {
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

TEST(MDIFieldpost, GivesWayToAnotherCopy) {
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

TEST(MDIFieldpost, ShowsTheLogAsItIsEachTimeItIsAskedTo) {
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

/// The help windows that are on the screen.
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
  for (int i = 0; i < 2; ++i) {  // the second time it is there already
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

TEST(MDIFieldpost, ClosesTheHelpWithItself) {
  MainWindow site;
  site.window.Load();
  site.Command("mnuFPHelp");
  ASSERT_EQ(HelpWindows().size(), 1U);
  site.window.close();
  EXPECT_EQ(HelpWindows().size(), 0U);
}

TEST(MDIFieldpost, OpensTheHelpAnewOverABoxThatCameUpOverTheHelp) {
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

TEST(MDIFieldpost, EndsWhenItIsClosedWhileItStarts) {
  MainWindow site;
  QObject::connect(&site.Area(), &QMdiArea::subWindowActivated, &site.window, &QWidget::close);
  EXPECT_FALSE(site.window.Load());
  EXPECT_THAT(site.Log(), ElementsAre("[Log File]"));
}

TEST(MDIFieldpost, ShowsTheArchiveOnceAndAgain) {
  MainWindow site;
  site.window.Load();
  site.Command("mnuArchive");
  EXPECT_THAT(site.Children(), ElementsAre("Archive"));
  site.Area().subWindowList()[0]->close();
  EXPECT_THAT(site.Children(), IsEmpty());
  site.Command("mnuArchive");
  EXPECT_THAT(site.Children(), ElementsAre("Archive"));
}

TEST(MDIFieldpost, BringsTheArchiveUpFromItsIcon) {
  MainWindow site;
  site.window.Load();
  QMdiSubWindow& archive = *site.Area().subWindowList().at(0);
  archive.showMinimized();
  site.Command("mnuLogfile");
  site.Command("mnuArchive");
  EXPECT_FALSE(archive.isMinimized());
  EXPECT_EQ(site.Area().activeSubWindow(), &archive);
}

/// A menu as lines: caption, and its name; a sub-menu's lines stand under it, deeper.
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

TEST(MDIFieldpost, HasItsMenu) {
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
