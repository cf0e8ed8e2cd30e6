#include "viewer/forms/frmXMLfile.h"

#include <gmock/gmock.h>

#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>

#include "support/DyingFileSystem.h"
#include "support/ViewerSite.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(frmXMLfile, HasTheGivenMenuAndNames) {
  const test::ViewerSite viewer;
  EXPECT_EQ(FromQt(viewer.Find<QAction>("mnuPrint").text()), "&Print");
  EXPECT_EQ(FromQt(viewer.Find<QAction>("mnuClose").text()), "&Close");
  EXPECT_EQ(FromQt(viewer.Find<QAction>("mnuPreview").text()), "Print Pre&view");
  EXPECT_EQ(FromQt(viewer.Tree().accessibleName()), "XML tree");
  for (const char menuOfTheFrame : {'F', 'V', 'H'}) {
    for (const QAction* action : viewer.Find<QMenuBar>("menuBar").actions()) {
      EXPECT_FALSE(action->text().contains(QString(u'&') + QLatin1Char(menuOfTheFrame)));
    }
  }
}

TEST(frmXMLfile, ShowsAFileAllExpanded) {
  test::ViewerSite viewer;
  viewer.OpenText("<FLFILE a='1'>x<b/>y<c><d>z</d></c></FLFILE>");
  EXPECT_THAT(viewer.Rows(), ElementsAre("FLFILE:  A=\"1\" :  x:  y", ".b", ".c", "..d:  z"));
  EXPECT_EQ(viewer.Title(), "XML File    " + Utf8FromPath(viewer.folder.Path() / "x.xml"));
  EXPECT_THAT(viewer.Log(), IsEmpty());
  EXPECT_EQ(viewer.Tree().currentIndex().row(), 0);
}

TEST(frmXMLfile, LeavesTheTreeEmptyWhenTheFileIsMalformed) {
  struct Row {
    const char* what;
    std::string text;
  };
  for (const Row& row : {Row{"at once", "no XML"}, Row{"at the end", "<a><b/></c>"},
                         Row{"long after the first screen", "<a>" + std::string(3'000'000, ' ') + "</b>"}}) {
    test::ViewerSite viewer;
    viewer.OpenText(row.text);
    EXPECT_THAT(viewer.Rows(), IsEmpty()) << row.what;
    EXPECT_EQ(viewer.Title(), "XML File") << row.what;
    const std::string path = Utf8FromPath(viewer.folder.Path() / "x.xml");
    EXPECT_THAT(viewer.Log(), ElementsAre("[Error]:File is not XML format (" + path + ")",
                                          "[Error]:Reason: not well-formed[" + path + "]"))
        << row.what;
  }
}

/// A disk whose files cannot be read.
class FailingDisk final : public test::DyingFileSystem {
 public:
  [[nodiscard]] std::unique_ptr<FileReader> OpenForReading(const std::filesystem::path& path) const override {
    return std::make_unique<FailingReader>(path);
  }

 private:
  class FailingReader final : public FileReader {
   public:
    explicit FailingReader(std::filesystem::path path) : path_(std::move(path)) {}
    std::size_t Read(std::span<char> /*buffer*/) override {
      throw FileError("cannot read", path_, "Input/output error");
    }

   private:
    std::filesystem::path path_;
  };
};

TEST(frmXMLfile, LogsWhyTheFileIsUnreadable) {
  test::ViewerSite viewer;
  FailingDisk disk;
  viewer.form = std::make_unique<frmXMLfile>(disk, viewer.program.log, viewer.prompt);
  viewer.OpenText("<a/>");
  const std::string path = Utf8FromPath(viewer.folder.Path() / "x.xml");
  EXPECT_THAT(viewer.Rows(), IsEmpty());
  EXPECT_THAT(viewer.Log(), ElementsAre("[Error]:File is not XML format (" + path + ")",
                                        "[Error]:Reason: cannot read " + path + ": Input/output error"));
}

TEST(frmXMLfile, DistinguishesAnUnreadableFileFromAMissingOne) {
  test::ViewerSite viewer;
  const std::filesystem::path path = viewer.folder / "loop.xml";
  std::filesystem::create_symlink("loop.xml", path);
  viewer.Open(path);
  EXPECT_THAT(viewer.Rows(), IsEmpty());
  EXPECT_THAT(viewer.Log(), ElementsAre("[Error]:File is not XML format (" + Utf8FromPath(path) + ")",
                                        "[Error]:Reason: cannot open " + Utf8FromPath(path) +
                                            ": Too many levels of symbolic links"));
}

TEST(frmXMLfile, LeavesTheTreeEmptyWhenTheFileIsMissing) {
  test::ViewerSite viewer;
  viewer.Open(viewer.folder.Path() / "none.xml");
  EXPECT_THAT(viewer.Rows(), IsEmpty());
  EXPECT_EQ(viewer.Title(), "XML File");
  EXPECT_THAT(viewer.Log(), ElementsAre("[Error]:File Not Found (" +
                                        Utf8FromPath(viewer.folder.Path() / "none.xml") + ")"));
  EXPECT_TRUE(viewer.form->isVisible());
}

TEST(frmXMLfile, ShowsTwoTextsAroundAChildAsTwoParts) {
  test::ViewerSite viewer;
  viewer.OpenText("<a>one<b/>two</a>");
  EXPECT_THAT(viewer.Rows(), ElementsAre("a:  one:  two", ".b"));
}

TEST(frmXMLfile, ShowsPreservedWhiteSpace) {
  test::ViewerSite viewer;
  viewer.OpenText("<a><b> </b><b xml:space='preserve'> </b></a>");
  EXPECT_THAT(viewer.Rows(), ElementsAre("a", ".b", ".b:  XML:SPACE=\"preserve\" :   "));
}

TEST(frmXMLfile, NumbersNodesFromOneOnEachLoad) {
  test::ViewerSite viewer;
  viewer.OpenText("<a><b/><c/></a>");
  viewer.Press(Qt::Key_Minus);
  viewer.OpenText("<d><e/></d>");
  EXPECT_THAT(viewer.Rows(), ElementsAre("d", ".e"));
  EXPECT_EQ(XmlTree::Key(*viewer.Tree().CurrentNode()), "Node-1");
  viewer.OpenText("no XML");
  EXPECT_THAT(viewer.Rows(), IsEmpty());
}

TEST(frmXMLfile, ExpandsAndCollapsesByKeysAndMouse) {
  test::ViewerSite viewer;
  viewer.OpenText("<a><b><c/><d/></b><e><f/></e></a>");
  viewer.Press(Qt::Key_Down);
  viewer.Press(Qt::Key_Left);
  EXPECT_THAT(viewer.Rows(), ElementsAre("a", ".b", ".e", "..f"));
  viewer.Press(Qt::Key_Left);
  EXPECT_EQ(viewer.Current(), "a");
  viewer.Press(Qt::Key_Right);
  EXPECT_EQ(viewer.Current(), "b");
  const auto position = [&] {
    return FromQt(viewer.Tree().currentIndex().data(Qt::AccessibleDescriptionRole).toString());
  };
  EXPECT_EQ(position(), "Level 2, collapsed");
  viewer.Press(Qt::Key_Right);
  EXPECT_THAT(viewer.Rows(), ElementsAre("a", ".b", "..c", "..d", ".e", "..f"));
  viewer.Press(Qt::Key_End);
  viewer.Trigger("mnuCollapseAll");
  EXPECT_THAT(viewer.Rows(), ElementsAre("a"));
  EXPECT_EQ(viewer.Current(), "a") << "what hides the current node takes its place";
  viewer.Press(Qt::Key_Plus);
  EXPECT_THAT(viewer.Rows(), ElementsAre("a", ".b", ".e"));
  viewer.Press(Qt::Key_Asterisk);
  EXPECT_THAT(viewer.Rows(), SizeIs(6));
  QTest::mouseDClick(viewer.Tree().viewport(), Qt::LeftButton, {},
                     viewer.Tree().visualRect(viewer.Tree().model()->index(0, 0)).topLeft() + QPoint(60, 5));
  EXPECT_THAT(viewer.Rows(), ElementsAre("a"));
  QTest::mouseClick(viewer.Tree().viewport(), Qt::LeftButton, {},
                    viewer.Tree().visualRect(viewer.Tree().model()->index(0, 0)).topLeft() + QPoint(10, 8));
  EXPECT_THAT(viewer.Rows(), SizeIs(6));
  viewer.Trigger("mnuCollapseAll");
  viewer.Trigger("mnuExpandAll");
  EXPECT_THAT(viewer.Rows(), SizeIs(6));
}

TEST(frmXMLfile, CopiesTheWholeLabel) {
  test::ViewerSite viewer;
  const std::string text(200'000, 'x');
  viewer.OpenText("<a>" + text + "<b>1&#10;2</b></a>");
  EXPECT_LT(viewer.Rows().front().size(), 1'100U) << "a long label is not drawn whole";
  viewer.Press(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(FromQt(QGuiApplication::clipboard()->text()), "a:  " + text);
  viewer.Press(Qt::Key_Down);
  viewer.Press(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(FromQt(QGuiApplication::clipboard()->text()), "b:  1\n2");
}

TEST(frmXMLfile, EscapesControlCharactersInLabels) {
  test::ViewerSite viewer;
  viewer.OpenText("<a b='&lt;img src=x&gt;'>1&#10;2&#9;3&#x85;\xE2\x80\xAE</a>");
  EXPECT_THAT(viewer.Rows(), ElementsAre("a:  B=\"<img src=x>\" :  1 2 3\xEF\xBF\xBD\xEF\xBF\xBD"));
}

TEST(frmXMLfile, FindsOnceAroundTheTree) {
  test::ViewerSite viewer;
  viewer.OpenText("<a><hit>1</hit><b><HIT>2</HIT></b><c/></a>");
  viewer.Press(Qt::Key_F, Qt::ControlModifier);
  auto& text = viewer.Find<QLineEdit>("txtFind");
  const auto& found = viewer.Find<QLabel>("lblFound");
  ASSERT_TRUE(text.hasFocus());
  QTest::keyClicks(&text, QStringLiteral("hit"));
  EXPECT_EQ(viewer.Current(), "hit:  1");
  viewer.Press(Qt::Key_Return);
  EXPECT_EQ(viewer.Current(), "HIT:  2");
  EXPECT_EQ(FromQt(found.text()), "");
  viewer.Press(Qt::Key_F3);
  EXPECT_EQ(viewer.Current(), "hit:  1");
  EXPECT_EQ(FromQt(found.text()), "Continued at the other end");
  viewer.Press(Qt::Key_F3, Qt::ShiftModifier);
  EXPECT_EQ(viewer.Current(), "HIT:  2");
  viewer.Trigger("mnuCollapseAll");
  viewer.Press(Qt::Key_F3);
  EXPECT_EQ(viewer.Current(), "hit:  1") << "what hides it is expanded";
  EXPECT_THAT(viewer.Rows(), ElementsAre("a", ".hit:  1", ".b", ".c"));
  text.clear();
  QTest::keyClicks(&text, QStringLiteral("nowhere"));
  EXPECT_EQ(FromQt(found.text()), "Not found");
  viewer.Press(Qt::Key_Escape);
  EXPECT_FALSE(viewer.Find<QWidget>("fraFind").isVisible());
  EXPECT_TRUE(viewer.Tree().hasFocus());
}

TEST(frmXMLfile, FindsAnywhereInALongLabel) {
  test::ViewerSite viewer;
  const std::string fill(32'768 - 6, 'x');
  viewer.OpenText("<r><a>" + fill + "needle" + fill + "</a><b>" + fill + fill + "NEEDLE</b><c/></r>");
  viewer.Press(Qt::Key_F, Qt::ControlModifier);
  QTest::keyClicks(&viewer.Find<QLineEdit>("txtFind"), QStringLiteral("needle"));
  EXPECT_EQ(*viewer.Tree().CurrentNode(), 1U);
  viewer.Press(Qt::Key_Return);
  EXPECT_EQ(*viewer.Tree().CurrentNode(), 2U);
  viewer.Press(Qt::Key_Return);
  EXPECT_EQ(*viewer.Tree().CurrentNode(), 1U);
}

TEST(frmXMLfile, KeysActOnTheActiveViewerOnly) {
  test::ViewerSite viewer;
  QMdiArea area;
  area.resize(900, 700);
  area.show();
  std::vector<frmXMLfile*> forms;
  for (const char* name : {"1.xml", "2.xml"}) {
    auto* const form = new frmXMLfile(viewer.files, viewer.program.log, viewer.prompt);
    area.addSubWindow(form)->show();
    form->Load(viewer.folder.Write(name, "<a><b/></a>"));
    forms.push_back(form);
    EXPECT_GT(form->width(), 300);
  }
  area.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&area));
  for (frmXMLfile* const form : forms) {
    area.setActiveSubWindow(qobject_cast<QMdiSubWindow*>(form->parentWidget()));
    auto* const tree = form->findChild<WidgetXmlTree*>();
    ASSERT_TRUE(tree->hasFocus());
    QTest::keyClick(tree, Qt::Key_F, Qt::ControlModifier);
    EXPECT_TRUE(form->findChild<QLineEdit*>(QStringLiteral("txtFind"))->hasFocus());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    QTest::keyClick(tree, Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(tree->PrintedRows(), 1);
    EXPECT_EQ(forms.back()->findChild<WidgetXmlTree*>()->PrintedRows(), form == forms.back() ? 1 : 2);
    auto& menu = *form->findChild<QMenu*>(QStringLiteral("mnuDocument"));
    QTest::keyClick(tree, Qt::Key_D, Qt::AltModifier);
    EXPECT_TRUE(menu.isVisible());
    menu.close();
  }
}

TEST(frmXMLfile, ClosesItsSubWindowFromTheMenu) {
  test::ViewerSite viewer;
  QMdiArea area;
  area.show();
  auto* const form = viewer.form.release();
  form->setAttribute(Qt::WA_DeleteOnClose);
  QMdiSubWindow* const frame = area.addSubWindow(form);
  frame->show();
  form->Load(viewer.folder.Write("x.xml", "<a/>"));
  EXPECT_EQ(frame->windowTitle(), form->windowTitle());
  const QPointer<QMdiSubWindow> alive(frame);
  form->findChild<QAction*>(QStringLiteral("mnuClose"))->trigger();
  EXPECT_TRUE(QTest::qWaitFor([&] { return alive.isNull(); }));
}

}  // namespace
}  // namespace fieldpost
