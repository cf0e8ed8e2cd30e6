#include "archive/frmXMLfile.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QAction>
#include <QClipboard>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>
#include <QPrinterInfo>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <fstream>

#include "archive/WidgetXmlTree.h"
#include "support/CommandOutput.h"
#include "support/WindowSite.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A viewer on a site of its own.
struct Viewer : test::WindowSite {
  std::unique_ptr<frmXMLfile> form = std::make_unique<frmXMLfile>(files, program.log, prompt);

  template <class Widget>
  Widget& Find(const char* name) const {
    auto* const found = form->findChild<Widget*>(QLatin1String(name));
    EXPECT_NE(found, nullptr) << name;
    return *found;
  }
  WidgetXmlTree& Tree() const { return Find<WidgetXmlTree>("TWXML"); }
  void Trigger(const char* action) const { Find<QAction>(action).trigger(); }

  /// Loads a file, and shows it until it is read.
  void Open(const std::filesystem::path& path) {
    form->SetPath(path);
    form->resize(600, 400);
    form->Load();
    form->show();
    form->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(form.get()));
    Tree().setFocus();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !form->IsLoading(); }, 50'000));
  }
  void OpenText(std::string_view xml) { Open(folder.Write("x.xml", xml)); }

  /// The labels of the rows, each with a dot before it for each level.
  std::vector<std::string> Rows() const {
    std::vector<std::string> rows;
    for (int row = 0; row < Tree().PrintedRows(); ++row) {
      const PrintableTree::Row one = Tree().PrintedRow(row);
      rows.push_back(std::string(one.level, '.') + FromQt(one.label));
    }
    return rows;
  }
  std::string Current() const { return FromQt(Tree().currentIndex().data().toString()); }
  void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
    QTest::keyClick(form->focusWidget() == nullptr ? &Tree() : form->focusWidget(), key, modifiers);
  }
  std::string Title() const { return FromQt(form->windowTitle()); }
};

TEST(frmXMLfile, HasItsMenuAndNames) {
  const Viewer viewer;
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
  Viewer viewer;
  viewer.OpenText("<FLFILE a='1'>x<b/>y<c><d>z</d></c></FLFILE>");
  EXPECT_THAT(viewer.Rows(), ElementsAre("FLFILE:  A=\"1\" :  x:  y", ".b", ".c", "..d:  z"));
  EXPECT_EQ(viewer.Title(), "XML File    " + Utf8FromPath(viewer.folder.Path() / "x.xml"));
  EXPECT_THAT(viewer.Log(), IsEmpty());
  EXPECT_EQ(viewer.Tree().currentIndex().row(), 0);
}

TEST(frmXMLfile, AFileThatIsNotWellFormedLeavesTheTreeEmpty) {
  struct Row {
    const char* what;
    std::string text;
  };
  for (const Row& row : {Row{"at once", "no XML"}, Row{"at the end", "<a><b/></c>"},
                         Row{"long after the first screen", "<a>" + std::string(3'000'000, ' ') + "</b>"}}) {
    Viewer viewer;
    viewer.OpenText(row.text);
    EXPECT_THAT(viewer.Rows(), IsEmpty()) << row.what;
    EXPECT_EQ(viewer.Title(), "XML File") << row.what;
    EXPECT_THAT(viewer.Log(), ElementsAre("[Error]:File is not XML format (" +
                                          Utf8FromPath(viewer.folder.Path() / "x.xml") + ")"))
        << row.what;
  }
}

TEST(frmXMLfile, AFileThatIsMissingLeavesTheTreeEmpty) {
  Viewer viewer;
  viewer.Open(viewer.folder.Path() / "none.xml");
  EXPECT_THAT(viewer.Rows(), IsEmpty());
  EXPECT_EQ(viewer.Title(), "XML File");
  EXPECT_THAT(viewer.Log(), ElementsAre("[Error]:File Not Found (" +
                                        Utf8FromPath(viewer.folder.Path() / "none.xml") + ")"));
  EXPECT_TRUE(viewer.form->isVisible());
}

TEST(frmXMLfile, TwoTextsAroundAChildAreTwoParts) {
  Viewer viewer;
  viewer.OpenText("<a>one<b/>two</a>");
  EXPECT_THAT(viewer.Rows(), ElementsAre("a:  one:  two", ".b"));
}

TEST(frmXMLfile, WhiteSpaceThatTheFileKeepsIsInTheLabel) {
  Viewer viewer;
  viewer.OpenText("<a><b> </b><b xml:space='preserve'> </b></a>");
  EXPECT_THAT(viewer.Rows(), ElementsAre("a", ".b", ".b:  XML:SPACE=\"preserve\" :   "));
}

TEST(frmXMLfile, EachLoadBeginsAtNodeOne) {
  Viewer viewer;
  viewer.OpenText("<a><b/><c/></a>");
  viewer.Press(Qt::Key_Minus);
  viewer.OpenText("<d><e/></d>");
  EXPECT_THAT(viewer.Rows(), ElementsAre("d", ".e"));
  EXPECT_EQ(XmlTree::Key(*viewer.Tree().CurrentNode()), "Node-1");
  viewer.OpenText("no XML");
  EXPECT_THAT(viewer.Rows(), IsEmpty());
}

TEST(frmXMLfile, NodesOpenAndCloseByKeysAndMouse) {
  Viewer viewer;
  viewer.OpenText("<a><b><c/><d/></b><e><f/></e></a>");
  viewer.Press(Qt::Key_Down);
  viewer.Press(Qt::Key_Left);
  EXPECT_THAT(viewer.Rows(), ElementsAre("a", ".b", ".e", "..f"));
  viewer.Press(Qt::Key_Left);
  EXPECT_EQ(viewer.Current(), "a");
  viewer.Press(Qt::Key_Right);
  EXPECT_EQ(viewer.Current(), "b");
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
  Viewer viewer;
  const std::string text(200'000, 'x');
  viewer.OpenText("<a>" + text + "<b>1&#10;2</b></a>");
  EXPECT_LT(viewer.Rows().front().size(), 1'100U) << "a long label is not drawn whole";
  viewer.Press(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(FromQt(QGuiApplication::clipboard()->text()), "a:  " + text);
  viewer.Press(Qt::Key_Down);
  viewer.Press(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(FromQt(QGuiApplication::clipboard()->text()), "b:  1\n2");
}

TEST(frmXMLfile, LabelsAreShownHarmlessly) {
  Viewer viewer;
  viewer.OpenText("<a b='&lt;img src=x&gt;'>1&#10;2&#9;3&#x85;\xE2\x80\xAE</a>");
  EXPECT_THAT(viewer.Rows(), ElementsAre("a:  B=\"<img src=x>\" :  1 2 3\xEF\xBF\xBD\xEF\xBF\xBD"));
}

TEST(frmXMLfile, FindsOnceRoundTheTree) {
  Viewer viewer;
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
  Viewer viewer;
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

TEST(frmXMLfile, ClosesFromItsMenuWithItsFrame) {
  Viewer viewer;
  QMdiArea area;
  area.show();
  auto* const form = viewer.form.release();
  form->setAttribute(Qt::WA_DeleteOnClose);
  form->SetPath(viewer.folder.Write("x.xml", "<a/>"));
  QMdiSubWindow* const frame = area.addSubWindow(form);
  frame->show();
  form->Load();
  EXPECT_EQ(frame->windowTitle(), form->windowTitle());
  const QPointer<QMdiSubWindow> alive(frame);
  form->findChild<QAction*>(QStringLiteral("mnuClose"))->trigger();
  EXPECT_TRUE(QTest::qWaitFor([&] { return alive.isNull(); }));
}

/// The longest time for which a timer of 10 ms had to wait.
class Gaps {
 public:
  Gaps() {
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] {
      longest = std::max(longest, since_.elapsed());
      since_.restart();
    });
    since_.start();
    timer_.start(10);
  }

  qint64 longest = 0;  // milliseconds

 private:
  QTimer timer_;
  QElapsedTimer since_;
};

std::filesystem::path WriteMany(const test::TempFolder& folder, int elements) {
  const std::filesystem::path path = folder / "many.xml";
  std::ofstream file(path, std::ios::binary);
  file << "<FLFILE>";
  for (int i = 1; i < elements; ++i) {
    file << "<FAULT No=\"" << i << "\" Type=\"memory dump\">line of a dump " << i << "</FAULT>\n";
  }
  file << "</FLFILE>";
  return path;
}

/// Shows a window, and waits until a row of the tree is drawn. Milliseconds.
qint64 FirstScreen(Viewer& viewer, const std::filesystem::path& path) {
  QElapsedTimer time;
  time.start();
  viewer.form->SetPath(path);
  viewer.form->resize(600, 400);
  viewer.form->Load();
  viewer.form->show();
  EXPECT_TRUE(QTest::qWaitForWindowExposed(viewer.form.get()));
  EXPECT_GT(viewer.Tree().PrintedRows(), 10);
  viewer.form->grab();
  return time.elapsed();
}

TEST(frmXMLfile, AMillionElementsLeaveTheWindowAnswering) {
  Viewer viewer;
  const std::filesystem::path path = WriteMany(viewer.folder, 1'000'000);
  QElapsedTimer time;
  time.start();
  Gaps gaps;
  const qint64 first = FirstScreen(viewer, path);
  EXPECT_LT(first, 500);
  EXPECT_TRUE(QTest::qWaitFor([&] { return !viewer.form->IsLoading(); }, 50'000));
  const qint64 all = time.elapsed();
  EXPECT_EQ(viewer.Tree().PrintedRows(), 1'000'000);
  viewer.Press(Qt::Key_End);
  EXPECT_EQ(viewer.Current(), "FAULT:  NO=\"999999\" TYPE=\"memory dump\" :  line of a dump 999999");
  QTest::qWait(50);
  const qint64 reading = std::exchange(gaps.longest, 0);
  for (const char* action : {"mnuCollapseAll", "mnuExpandAll"}) viewer.Trigger(action);
  QTest::qWait(50);
  const qint64 folding = std::exchange(gaps.longest, 0);
  EXPECT_EQ(viewer.Tree().PrintedRows(), 1'000'000);
  viewer.Press(Qt::Key_F, Qt::ControlModifier);
  viewer.Find<QLineEdit>("txtFind").setText(QStringLiteral("nowhere"));
  viewer.Press(Qt::Key_Return);
  const auto& found = viewer.Find<QLabel>("lblFound");
  EXPECT_TRUE(QTest::qWaitFor([&] { return found.text() == QStringLiteral("Not found"); }, 20'000));
  std::cout << fmt::format(
      "1,000,000 elements: first screen after {} ms, all after {} ms; longest gap {} ms while reading, {} ms "
      "expanding all, {} ms searching; {} MB\n",
      first, all, reading, folding, gaps.longest, viewer.form->Tree().MemoryBytes() / 1'000'000);
  EXPECT_LT(std::max({reading, folding, gaps.longest}), 500);
}

TEST(frmXMLfile, AHundredThousandLevelsLeaveTheWindowAnswering) {
  constexpr int depth = 100'000;
  Viewer viewer;
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<n>";
  text += "deepest";
  for (int i = 0; i < depth; ++i) text += "</n>";
  const std::filesystem::path path = viewer.folder.Write("deep.xml", text);
  QElapsedTimer time;
  time.start();
  Gaps gaps;
  const qint64 first = FirstScreen(viewer, path);
  EXPECT_TRUE(QTest::qWaitFor([&] { return !viewer.form->IsLoading(); }, 50'000));
  const qint64 all = time.elapsed();
  viewer.Tree().setFocus();
  viewer.Press(Qt::Key_End);
  QTest::qWait(20);
  EXPECT_EQ(viewer.Current(), "n:  deepest");
  const int left = viewer.Tree().horizontalScrollBar()->value();
  EXPECT_GT(left, depth * 10);
  for (int i = 0; i < 20; ++i) {
    viewer.Press(Qt::Key_PageUp);
    viewer.form->grab();
  }
  viewer.Trigger("mnuCollapseAll");
  EXPECT_EQ(viewer.Tree().PrintedRows(), 1);
  viewer.form->grab();
  EXPECT_EQ(viewer.Tree().horizontalScrollBar()->value(), 0);
  viewer.Press(Qt::Key_F, Qt::ControlModifier);
  QTest::keyClicks(&viewer.Find<QLineEdit>("txtFind"), QStringLiteral("deepest"));
  EXPECT_TRUE(QTest::qWaitFor([&] { return viewer.Current() == "n:  deepest"; }, 20'000));
  viewer.form->grab();
  EXPECT_GT(viewer.Tree().horizontalScrollBar()->value(), depth * 10);
  QTest::qWait(20);
  std::cout << fmt::format("100,000 levels: first screen after {} ms, all after {} ms; longest gap {} ms\n",
                           first, all, gaps.longest);
  EXPECT_LT(gaps.longest, 1'000);
}

TEST(frmXMLfile, ClosingWhileItReadsEndsTheReading) {
  Viewer viewer;
  viewer.form->SetPath(WriteMany(viewer.folder, 200'000));
  viewer.form->Load();
  viewer.form->show();
  ASSERT_TRUE(viewer.form->IsLoading());
  EXPECT_FALSE(viewer.Find<QAction>("mnuPrint").isEnabled());
  auto* const form = viewer.form.release();
  form->setAttribute(Qt::WA_DeleteOnClose);
  const QPointer<frmXMLfile> alive(form);
  form->close();
  EXPECT_TRUE(QTest::qWaitFor([&] { return alive.isNull(); }));
  QTest::qWait(20);
  EXPECT_THAT(viewer.Log(), IsEmpty());
}

TEST(frmXMLfile, AnotherLoadTakesTheFirstOnesPlace) {
  Viewer viewer;
  viewer.form->SetPath(WriteMany(viewer.folder, 200'000));
  viewer.form->Load();
  ASSERT_TRUE(viewer.form->IsLoading());
  viewer.OpenText("<a/>");
  QTest::qWait(20);
  EXPECT_THAT(viewer.Rows(), ElementsAre("a"));
}

// The printer dialog, as a machine without a printer shows it.

TEST(frmXMLfile, PrintsToAPdfWithoutAnyPrinter) {
  ASSERT_THAT(QPrinterInfo::availablePrinters(), IsEmpty()) << "this test is for machines without printers";
  Viewer viewer;
  viewer.OpenText("<FLFILE><a>seen</a><b><c>hidden</c></b></FLFILE>");
  viewer.Tree().GoTo(2);
  viewer.Press(Qt::Key_Minus);
  const std::filesystem::path target = viewer.folder.Path() / "tree.pdf";
  test::MessageBoxes boxes;
  std::string name;
  boxes.onDialog = [&](QDialog& dialog) {
    name = FromQt(dialog.objectName());
    auto* const file = dialog.findChild<QLineEdit*>(QStringLiteral("filename"));
    ASSERT_NE(file, nullptr);
    file->setText(PathToQt(target));
    QTest::keyClick(&dialog, Qt::Key_Return);
  };
  viewer.Trigger("mnuPrint");
  EXPECT_EQ(name, "CDPrinter");
  EXPECT_THAT(boxes.seen, IsEmpty());
  const std::string pdf = test::ReadFile(target);
  EXPECT_TRUE(pdf.starts_with("%PDF")) << pdf.size();
  const std::string text = test::RunCommand("pdftotext '" + Utf8FromPath(target) + "' -").output;
  EXPECT_THAT(text, testing::HasSubstr("a: seen"));
  EXPECT_THAT(text, testing::Not(testing::HasSubstr("hidden")));
}

TEST(frmXMLfile, ACancelledDialogPrintsNothingAndSaysNothing) {
  Viewer viewer;
  viewer.OpenText("<a/>");
  test::MessageBoxes boxes;
  int dialogs = 0;
  boxes.onDialog = [&](QDialog& dialog) {
    ++dialogs;
    QTest::keyClick(&dialog, Qt::Key_Escape);
  };
  viewer.Trigger("mnuPrint");
  EXPECT_EQ(dialogs, 1);
  EXPECT_THAT(boxes.seen, IsEmpty());
}

const test::SeenBox NoPrinter{"Default printer not found", QMessageBox::Warning, "Fieldpost"};

TEST(frmXMLfile, EveryFailureOfPrintingIsOneBox) {
  struct Row {
    const char* what;
    std::string xml;
    std::string target;  // below the site's folder
  };
  for (const Row& row : {Row{"nothing to print", "no XML", ""},
                         Row{"a file that cannot be written", "<a/>", "a-folder-that-is-not-there/x.pdf"}}) {
    Viewer viewer;
    viewer.OpenText(row.xml);
    test::MessageBoxes boxes;
    boxes.onDialog = [&](QDialog& dialog) {
      if (auto* const file = dialog.findChild<QLineEdit*>(QStringLiteral("filename"))) {
        file->setText(PathToQt(viewer.folder.Path() / PathFromUtf8(row.target)));
      }
      dialog.accept();
    };
    viewer.Trigger("mnuPrint");
    EXPECT_THAT(boxes.seen, testing::Contains(NoPrinter)) << row.what;
  }
}

TEST(frmXMLfile, PreviewsThePages) {
  Viewer viewer;
  viewer.Open(WriteMany(viewer.folder, 300));
  test::MessageBoxes boxes;
  int pages = 0;
  boxes.onDialog = [&](QDialog& dialog) {
    if (auto* const preview = dialog.findChild<QPrintPreviewWidget*>()) pages = preview->pageCount();
    QTest::keyClick(&dialog, Qt::Key_Escape);
  };
  viewer.Trigger("mnuPreview");
  EXPECT_GT(pages, 3);
  EXPECT_LT(pages, 10);
}

}  // namespace
}  // namespace fieldpost
