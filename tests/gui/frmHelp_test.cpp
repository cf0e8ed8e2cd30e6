#include "shell/forms/frmHelp.h"

#include <gmock/gmock.h>

#include <QHelpContentWidget>
#include <QHelpIndexWidget>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>

#include "shell/ProvideHelpFile.h"
#include "shell/forms/WidgetHelpPage.h"
#include "support/WindowSite.h"

namespace fieldpost {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct HelpSite : test::WindowSite {
  std::unique_ptr<frmHelp> form;

  void Open() {
    form = std::make_unique<frmHelp>(files, home, prompt, memory);
    ASSERT_TRUE(form->OpenBook());
    form->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    ASSERT_TRUE(QTest::qWaitFor([this] { return Contents().model()->rowCount() > 0; }));
    ASSERT_TRUE(QTest::qWaitFor([this] { return Index().model()->rowCount() > 0; }));
  }

  template <class T>
  [[nodiscard]] T& Find(const char* name) const {
    return *form->findChild<T*>(QLatin1String(name));
  }
  [[nodiscard]] WidgetHelpPage& Page() const { return Find<WidgetHelpPage>("txtPage"); }
  [[nodiscard]] QTreeView& Contents() const { return Find<QTreeView>("trvContents"); }
  [[nodiscard]] QListView& Index() const { return Find<QListView>("lstIndex"); }
  [[nodiscard]] std::string Source() const { return FromQt(Page().source().path().mid(5)); }
  [[nodiscard]] std::string Text() const { return FromQt(Page().toPlainText()); }

  /// Returns the titles of the book's chapters.
  [[nodiscard]] std::vector<std::string> Chapters() const {
    const QAbstractItemModel& model = *Contents().model();
    const QModelIndex book = model.index(0, 0);
    std::vector<std::string> titles;
    for (int row = 0; row < model.rowCount(book); ++row) {
      titles.push_back(FromQt(model.index(row, 0, book).data().toString()));
    }
    return titles;
  }

  /// Types words into the search. Returns the titles of the pages that are found.
  std::vector<std::string> Search(const char* words) const {
    QTest::keyClick(form.get(), Qt::Key_F, Qt::ControlModifier);
    auto& box = Find<QLineEdit>("txtSearch");
    EXPECT_TRUE(box.hasFocus());
    box.clear();
    QTest::keyClicks(&box, QLatin1String(words));
    QTest::keyClick(&box, Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !Find<QLabel>("lblFound").text().isEmpty(); }, 20'000));
    std::vector<std::string> titles;
    const auto& list = Find<QListWidget>("lstFound");
    for (int row = 0; row < list.count(); ++row) titles.push_back(FromQt(list.item(row)->text()));
    return titles;
  }
};

TEST(frmHelp, ShowsItsFirstPageAndChapters) {
  HelpSite site;
  site.Open();
  EXPECT_EQ(site.Source(), "index.html");
  EXPECT_THAT(site.Text(), HasSubstr("faultlogger files"));
  EXPECT_THAT(site.Chapters(),
              ElementsAre("What Fieldpost does", "First steps", "Options, page by page",
                          "Sending from the window", "Unattended runs", "The archive", "The log", "PPC data",
                          "When something fails", "Messages", "Limits", "Keys", "Where files are"));
  EXPECT_TRUE(std::filesystem::exists(HelpFile(site.home)));
}

TEST(frmHelp, ShowsAPageForEveryChapter) {
  HelpSite site;
  site.Open();
  const QModelIndex book = site.Contents().model()->index(0, 0);
  ASSERT_TRUE(site.Contents().isExpanded(book));
  for (int row = 0; row < site.Contents().model()->rowCount(book); ++row) {
    const QModelIndex chapter = site.Contents().model()->index(row, 0, book);
    site.Contents().scrollTo(chapter);
    QTest::mouseClick(site.Contents().viewport(), Qt::LeftButton, Qt::NoModifier,
                      site.Contents().visualRect(chapter).center());
    EXPECT_THAT(site.Text(), StartsWith(FromQt(chapter.data().toString()) + "\n"));
  }
}

TEST(frmHelp, SearchFindsMessages) {
  HelpSite site;
  site.Open();
  EXPECT_THAT(site.Search("Path not found!"), Contains("Messages"));
  EXPECT_THAT(site.Search("\"Mail Sent\""), Contains("The log"));
  EXPECT_THAT(site.Search("*(dosen't) -set:up"), ElementsAre("Messages"));
  EXPECT_THAT(site.Search("xyzzy"), ElementsAre());
  EXPECT_EQ(FromQt(site.Find<QLabel>("lblFound").text()), "Nothing found");
}

TEST(frmHelp, ShowsAFoundPage) {
  HelpSite site;
  site.Open();
  ASSERT_THAT(site.Search("crontab"), ElementsAre("Unattended runs"));
  auto& list = site.Find<QListWidget>("lstFound");
  list.setFocus();
  list.setCurrentRow(0);
  QTest::keyClick(&list, Qt::Key_Return);
  EXPECT_EQ(site.Source(), "unattended.html");
}

TEST(frmHelp, FollowsLinksForwardAndBack) {
  HelpSite site;
  site.Open();
  QTest::keyClick(&site.Page(), Qt::Key_Tab);
  QTest::keyClick(&site.Page(), Qt::Key_Return);
  EXPECT_EQ(site.Source(), "setup.html");
  EXPECT_THAT(site.Text(), StartsWith("First steps"));
  QTest::keyClick(&site.Page(), Qt::Key_Left, Qt::AltModifier);
  EXPECT_EQ(site.Source(), "index.html");
  QTest::mouseClick(&site.Find<QPushButton>("cmdForward"), Qt::LeftButton);
  EXPECT_EQ(site.Source(), "setup.html");
  QTest::keyClick(&site.Page(), Qt::Key_Home, Qt::AltModifier);
  EXPECT_EQ(site.Source(), "index.html");
  EXPECT_FALSE(site.Find<QPushButton>("cmdForward").isEnabled());
}

TEST(frmHelp, ShowsThePagesOfKeywords) {
  HelpSite site;
  site.Open();
  site.Find<QTabWidget>("tabHelp").setCurrentIndex(1);
  auto& box = site.Find<QLineEdit>("txtIndex");
  box.setFocus();
  QTest::keyClicks(&box, "partner");
  QTest::keyClick(&box, Qt::Key_Return);
  EXPECT_EQ(site.Source(), "options.html");
  EXPECT_EQ(FromQt(site.Page().source().fragment()), "partner");
}

TEST(frmHelp, KeysChangeTheSizeOfLetters) {
  HelpSite site;
  site.Open();
  const int normal = site.Page().font().pointSize();
  QTest::keyClick(site.form.get(), Qt::Key_Plus, Qt::ControlModifier);
  QTest::keyClick(site.form.get(), Qt::Key_Plus, Qt::ControlModifier);
  EXPECT_GT(site.Page().font().pointSize(), normal);
  QTest::keyClick(site.form.get(), Qt::Key_0, Qt::ControlModifier);
  EXPECT_EQ(site.Page().font().pointSize(), normal);
  QTest::keyClick(site.form.get(), Qt::Key_Minus, Qt::ControlModifier);
  EXPECT_LT(site.Page().font().pointSize(), normal);
}

TEST(frmHelp, ClosesOnEscape) {
  HelpSite site;
  site.Open();
  QTest::keyClick(&site.Page(), Qt::Key_Escape);
  EXPECT_FALSE(site.form->isVisible());
}

TEST(frmHelp, ShowsOneMessageWhenTheBookCannotBeOpened) {
  HelpSite site;
  std::filesystem::create_directory(HelpFile(site.home));
  test::MessageBoxes boxes;
  frmHelp form(site.files, site.home, site.prompt, site.memory);
  EXPECT_FALSE(form.OpenBook());
  ASSERT_EQ(boxes.seen.size(), 1U);
  EXPECT_THAT(boxes.seen[0].text, StartsWith("The help cannot be opened: "));
  EXPECT_THAT(boxes.seen[0].text, HasSubstr("FPhelp.hlp"));
  EXPECT_THAT(boxes.seen[0].text, Not(HasSubstr("\n")));
  EXPECT_EQ(boxes.seen[0].icon, QMessageBox::Warning);
}

TEST(frmHelp, ReplacesABookOfAnotherVersion) {
  HelpSite site;
  site.folder.Write("home/FPhelp.hlp", "of old");
  site.Open();
  EXPECT_EQ(site.Source(), "index.html");
  EXPECT_THAT(test::ReadFile(HelpFile(site.home)), StartsWith("SQLite format 3"));
}

}  // namespace
}  // namespace fieldpost
