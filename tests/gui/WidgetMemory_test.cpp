#include "common/forms/WidgetMemory.h"

#include <gtest/gtest.h>

#include <QHeaderView>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QScreen>
#include <QTreeWidget>

#include "common/forms/WidgetText.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

/// A frame of 600 x 500 with a child window, and the stored geometries.
struct Frame {
  test::TempFolder folder;
  QMdiArea area;
  QMdiSubWindow* child = nullptr;

  Frame() {
    area.resize(600, 500);
    area.show();
    auto* const form = new QWidget;
    form->setObjectName("frmForm");
    child = area.addSubWindow(form);
    child->resize(300, 200);
    child->show();
  }

  [[nodiscard]] WidgetMemory Memory() const { return WidgetMemory(folder.Path()); }

  void Keep(const QRect& place) const {
    QSettings(PathToQt(folder.Path() / "Windows.ini"), QSettings::IniFormat)
        .setValue("frmForm/geometry", place);
  }
};

TEST(WidgetMemory, RestoresAChildInsideTheFrame) {
  struct Row {
    const char* name;
    QRect kept;
    QRect expected;
  };
  for (const Row& row : {Row{"inside", {50, 40, 300, 200}, {50, 40, 300, 200}},
                         Row{"of a larger screen", {2500, 1400, 300, 200}, {300, 300, 300, 200}},
                         Row{"beyond the left and the top", {-900, -50, 300, 200}, {0, 0, 300, 200}},
                         Row{"larger than the frame", {10, 10, 3000, 2000}, {0, 0, 600, 500}}}) {
    const Frame frame;
    frame.Keep(row.kept);
    frame.Memory().RestoreChild(*frame.child);
    EXPECT_EQ(frame.child->geometry(), row.expected) << row.name;
  }
}

TEST(WidgetMemory, MovesAnUnknownChildInsideTheFrame) {
  const Frame frame;
  frame.child->setGeometry(500, 400, 300, 200);
  frame.Memory().RestoreChild(*frame.child);
  EXPECT_EQ(frame.child->geometry(), QRect(300, 300, 300, 200));
}

TEST(WidgetMemory, KeepsTheNormalGeometryOfAMaximisedChild) {
  const Frame frame;
  frame.Keep({2500, 1400, 300, 200});
  QSettings(PathToQt(frame.folder.Path() / "Windows.ini"), QSettings::IniFormat)
      .setValue("frmForm/maximised", true);
  frame.Memory().RestoreChild(*frame.child);
  EXPECT_TRUE(frame.child->isMaximized());
  frame.child->showNormal();
  EXPECT_EQ(frame.child->geometry(), QRect(300, 300, 300, 200));
}

TEST(WidgetMemory, FitsANewWindowToTheScreen) {
  const test::TempFolder folder;
  QWidget window;
  window.setObjectName("frmLarge");
  window.resize(window.screen()->availableSize() * 2);
  WidgetMemory(folder.Path()).RestoreGeometry(window);
  EXPECT_LT(window.width(), window.screen()->availableSize().width());
  EXPECT_LT(window.height(), window.screen()->availableSize().height());
  EXPECT_GT(window.width(), window.screen()->availableSize().width() / 2);
}

TEST(WidgetMemory, IgnoresAMalformedFile) {
  for (const std::string& rubbish :
       {std::string("\xff\x00\x01[[[\n=\n", 9),
        std::string("[frmForm]\ngeometry=@Rect(x y)\ncolumns=@ByteArray(\\xff\\xfe)\n"),
        std::string("[frmForm]\ngeometry=@Variant(\\0\\0\\xff)\ncolumns=@Rect(1 2 3 4)\n")}) {
    Frame frame;
    frame.folder.Write("Windows.ini", rubbish);
    const QRect before(20, 30, 300, 200);
    frame.child->setGeometry(before);
    WidgetMemory memory(frame.folder.Path());
    memory.RestoreChild(*frame.child);
    EXPECT_EQ(frame.child->geometry(), before) << rubbish;
    QTreeWidget list;
    list.setColumnCount(2);
    list.header()->resizeSection(0, 77);
    memory.RestoreColumns(*frame.child->widget(), *list.header());
    EXPECT_EQ(list.header()->sectionSize(0), 77) << rubbish;
    QWidget window;
    window.setObjectName("frmForm");
    window.resize(200, 100);
    memory.RestoreGeometry(window);
    EXPECT_EQ(window.size(), QSize(200, 100)) << rubbish;
  }
}

}  // namespace
}  // namespace fieldpost
