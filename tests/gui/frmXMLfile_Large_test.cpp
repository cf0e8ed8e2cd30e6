#include <fmt/format.h>
#include <gmock/gmock.h>

#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QScrollBar>
#include <QTimer>

#include "support/ViewerSite.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Measures the longest delay of a timer of 10 ms.
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

/// Shows a window, and waits until a row of the tree is drawn. Returns the milliseconds that it took.
qint64 FirstScreen(test::ViewerSite& viewer, const std::filesystem::path& path) {
  QElapsedTimer time;
  time.start();
  viewer.form->resize(600, 400);
  viewer.form->Load(path);
  viewer.form->show();
  EXPECT_TRUE(QTest::qWaitForWindowExposed(viewer.form.get()));
  EXPECT_GT(viewer.Tree().PrintedRows(), 10);
  viewer.form->grab();
  return time.elapsed();
}

TEST(frmXMLfile, StaysResponsiveWithAMillionElements) {
  test::ViewerSite viewer;
  const std::filesystem::path path = test::WriteMany(viewer.folder, 1'000'000);
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
  EXPECT_LT(std::max({reading, folding, gaps.longest}), 1'000);
}

TEST(frmXMLfile, StaysResponsiveWithAHundredThousandLevels) {
  constexpr int depth = 100'000;
  test::ViewerSite viewer;
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

TEST(frmXMLfile, StopsReadingWhenClosed) {
  test::ViewerSite viewer;
  viewer.form->Load(test::WriteMany(viewer.folder, 200'000));
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

TEST(frmXMLfile, EndsTheSearchWhenTheFileTurnsOutToBeMalformed) {
  test::ViewerSite viewer;
  // The text takes longer to search than the window searches at a time.
  std::string text = "<a><b>" + std::string(40'000'000, 'x') + "</b>";
  for (int i = 0; i < 500'000; ++i) text += "<c/>";
  const std::filesystem::path path = viewer.folder.Write("x.xml", text + "</a>");
  viewer.form->Load(path);
  viewer.form->show();
  ASSERT_TRUE(QTest::qWaitFor([&] { return viewer.form->Tree().Size() > 2; }, 20'000));
  ASSERT_TRUE(viewer.form->IsLoading());
  viewer.Press(Qt::Key_F, Qt::ControlModifier);
  viewer.Find<QLineEdit>("txtFind").setText(QStringLiteral("nowhere"));
  viewer.Press(Qt::Key_Return);
  const auto& found = viewer.Find<QLabel>("lblFound");
  ASSERT_EQ(FromQt(found.text()), "Searching...");
  std::filesystem::resize_file(path, 0);
  ASSERT_TRUE(QTest::qWaitFor([&] { return !viewer.form->IsLoading(); }, 20'000));
  QTest::qWait(50);
  EXPECT_THAT(viewer.Rows(), IsEmpty());
  EXPECT_EQ(FromQt(found.text()), "");
  viewer.Press(Qt::Key_Return);
  EXPECT_EQ(FromQt(found.text()), "Not found");
}

TEST(frmXMLfile, EndsTheFirstLoadWhenTheSecondFileIsMissing) {
  test::ViewerSite viewer;
  viewer.form->Load(test::WriteMany(viewer.folder, 200'000));
  ASSERT_TRUE(viewer.form->IsLoading());
  viewer.Open(viewer.folder / "none.xml");
  QTest::qWait(20);
  EXPECT_THAT(viewer.Rows(), IsEmpty());
  EXPECT_EQ(viewer.Title(), "XML File");
  EXPECT_TRUE(viewer.Find<QAction>("mnuPrint").isEnabled());
}

TEST(frmXMLfile, ReplacesTheFirstLoadByTheSecond) {
  test::ViewerSite viewer;
  viewer.form->Load(test::WriteMany(viewer.folder, 200'000));
  ASSERT_TRUE(viewer.form->IsLoading());
  viewer.OpenText("<a/>");
  QTest::qWait(20);
  EXPECT_THAT(viewer.Rows(), ElementsAre("a"));
}

}  // namespace
}  // namespace fieldpost
