#include "shell/MDIFieldpost.h"

#include <gmock/gmock.h>

#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>

#include "support/WindowSite.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct MainWindow : test::WindowSite {
  MDIFieldpost window{program, {prompt, display, memory}};

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
