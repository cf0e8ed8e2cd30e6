#include "archive/forms/frmArchive.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QComboBox>
#include <QElapsedTimer>
#include <QGroupBox>
#include <QHeaderView>
#include <QListView>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <iostream>

#include "archive/forms/frmArchiveDelete.h"
#include "support/ArchiveFiles.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::MessageBoxes;
using testing::ElementsAre;
using testing::IsEmpty;

struct ListSite : test::ArchiveSite {
  std::unique_ptr<frmArchive> form;
  PathList opened;
  std::vector<PathList> deletions;
  std::string deletionCode;

  void Open() {
    form = std::make_unique<frmArchive>(files, program.settings, program.log, memory);
    QObject::connect(form.get(), &frmArchive::OpenFileRequested, form.get(),
                     [this](const fs::path& file) { opened.push_back(file); });
    QObject::connect(form.get(), &frmArchive::DeleteRequested, form.get(),
                     [this](const PathList& paths, const std::string& productCode) {
                       deletions.push_back(paths);
                       deletionCode = productCode;
                     });
    form->resize(640, 480);
    form->show();
    QCoreApplication::processEvents();
  }
  template <class Widget>
  Widget& Find(const char* name) const {
    return *form->findChild<Widget*>(QLatin1String(name));
  }
  QTreeView& Tree() const { return Find<QTreeView>("LVFileList"); }
  QListView& Icons() const { return Find<QListView>("LVFileListIcons"); }
  QComboBox& Codes() const { return Find<QComboBox>("CmbProdcode"); }

  void Update(bool firstTime = false) const { form->UpdateList(firstTime); }
  void Refresh() const { QTest::mouseClick(&Find<QPushButton>("cmdRefresh"), Qt::LeftButton); }
  void Press(const char* key) const {
    auto& bar = Find<QToolBar>("Toolbar1");
    QTest::mouseClick(bar.widgetForAction(&Find<QAction>(key)), Qt::LeftButton);
  }

  [[nodiscard]] std::vector<std::string> Column(int column) const {
    std::vector<std::string> texts;
    const QAbstractItemModel& model = *Tree().model();
    for (int row = 0; row < model.rowCount(); ++row) {
      texts.push_back(FromQt(model.index(row, column).data().toString()));
    }
    return texts;
  }
  [[nodiscard]] std::vector<std::string> Rows() const { return Column(ArchiveColumn::Filename); }
  [[nodiscard]] std::vector<std::string> ComboTexts() const {
    std::vector<std::string> texts;
    for (int i = 0; i < Codes().count(); ++i) texts.push_back(FromQt(Codes().itemText(i)));
    return texts;
  }
  [[nodiscard]] std::vector<std::string> Selected() const {
    std::vector<std::string> names;
    for (const QModelIndex& index : Tree().selectionModel()->selectedRows()) {
      names.push_back(FromQt(index.data().toString()));
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  QPoint Place(QAbstractItemView& view, int row) const {
    return view.visualRect(view.model()->index(row, 0)).center();
  }
  void Click(QAbstractItemView& view, int row, Qt::KeyboardModifiers modifiers = {}) const {
    QTest::mouseClick(view.viewport(), Qt::LeftButton, modifiers, Place(view, row));
  }
  void DoubleClick(QAbstractItemView& view, int row) const {
    Click(view, row);
    QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, Place(view, row));
  }
};

TEST(frmArchive, HasTheGivenControls) {
  ListSite site;
  site.Open();
  EXPECT_EQ(site.Find<QGroupBox>("fraProductcode").title(), QStringLiteral("Productcode"));
  EXPECT_EQ(site.Find<QPushButton>("cmdRefresh").text(), QStringLiteral("Refresh"));
  EXPECT_EQ(site.Tree().accessibleName(), QStringLiteral("Files"));
  EXPECT_EQ(site.Icons().accessibleName(), QStringLiteral("Files"));
  std::vector<std::string> buttons;
  auto& bar = site.Find<QToolBar>("Toolbar1");
  for (const QAction* action : bar.actions()) {
    if (action->isSeparator()) continue;
    buttons.push_back(FromQt(action->data().toString()) + ": " + FromQt(action->text()));
    EXPECT_FALSE(action->icon().isNull()) << buttons.back();
    EXPECT_FALSE(action->toolTip().isEmpty()) << buttons.back();
    EXPECT_EQ(bar.widgetForAction(const_cast<QAction*>(action))->focusPolicy(), Qt::TabFocus);
  }
  EXPECT_THAT(buttons, ElementsAre("LargeIcons: Large icons", "Smallcons: Small icons", "List: List",
                                   "Details: Details", "Delete: Delete"));
  std::vector<std::string> captions;
  for (int i = 0; i < site.Tree().model()->columnCount(); ++i) {
    captions.push_back(FromQt(site.Tree().model()->headerData(i, Qt::Horizontal).toString()));
  }
  EXPECT_THAT(captions, ElementsAre("Filename", "Size", "Modified", "Mode"));
}

TEST(frmArchive, IsEmptyWithoutProductCodes) {
  ListSite site;
  site.Open();
  EXPECT_THAT(site.ComboTexts(), IsEmpty());
  EXPECT_THAT(site.Rows(), IsEmpty());
  EXPECT_FALSE(site.Find<QProgressBar>("ProBar1").isVisible());
  EXPECT_THAT(site.Log(), IsEmpty());
}

TEST(frmArchive, IsEmptyForAProductCodeWithoutXmlFiles) {
  ListSite site;
  site.folder.Write("home/Faultlog/Archive/a/note.txt", "");
  site.Open();
  EXPECT_THAT(site.ComboTexts(), ElementsAre("a"));
  EXPECT_THAT(site.Rows(), IsEmpty());
  EXPECT_FALSE(site.Find<QProgressBar>("ProBar1").isVisible());
  EXPECT_THAT(site.Log(), IsEmpty());
}

TEST(frmArchive, ShowsSizesAndModes) {
  struct Row {
    const char* name;
    const char* mode;
    std::size_t size;
    const char* sizeText;
    const char* word;
  };
  const std::vector<Row> rows{{"a.xml", "A", 1000, "1000", "Archive"},
                              {"b.xml", "p", 1001, "      1.001", "Process"},
                              {"c.xml", "", 12345, "     12.345", "Partial"},
                              {"d.xml", "x", 999, "999", ""},
                              {"e.xml", "E", 999, "999", "Error"},
                              {"f.xml", "F", 999, "999", "Fault logged"},
                              {"r.xml", "r", 1'234'567, "   1234.567", "Recect"}};
  ListSite site;
  for (const Row& row : rows) site.Archived(std::string("4711/") + row.name, row.mode, row.size);
  site.folder.Write("home/Faultlog/Archive/4711/z.xml", "<FLFILE><MODEIND>P</MODEIND>");
  site.Open();
  const auto sizes = site.Column(ArchiveColumn::Size);
  const auto words = site.Column(ArchiveColumn::Mode);
  ASSERT_EQ(sizes.size(), rows.size() + 1);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(sizes[i], rows[i].sizeText) << rows[i].name;
    EXPECT_EQ(words[i], rows[i].word) << rows[i].name;
  }
  EXPECT_EQ(words.back(), "Mode indicator not found!");
  EXPECT_EQ(site.Column(ArchiveColumn::Modified).front(),
            ModifiedText(site.files.Stamp(site.Archive("4711/a.xml"))));
}

TEST(frmArchive, ListsTheChosenProductCode) {
  ListSite site;
  site.Archived("a/1.xml");
  site.Archived("b/2.xml");
  site.Archived("b/3.xml");
  site.Open();
  EXPECT_THAT(site.Rows(), ElementsAre("1.xml"));
  site.Codes().setFocus();
  QTest::keyClick(&site.Codes(), Qt::Key_Down);
  EXPECT_THAT(site.Rows(), ElementsAre("2.xml", "3.xml"));
  site.Update();
  EXPECT_EQ(site.Codes().currentText(), QStringLiteral("b"));
  bool firstTime = true;
  site.form->UpdateList(firstTime);
  EXPECT_FALSE(firstTime);
  EXPECT_EQ(site.Codes().currentText(), QStringLiteral("a"));
  EXPECT_THAT(site.Rows(), ElementsAre("1.xml"));
}

TEST(frmArchive, RebuildsTheProductCodesWhenTheirNumberChanges) {
  ListSite site;
  site.Archived("b/1.xml");
  site.Open();
  fs::rename(site.Archive("b"), site.Archive("a"));
  site.Refresh();
  EXPECT_THAT(site.ComboTexts(), ElementsAre("b")) << "renamed, but as many as before";
  EXPECT_THAT(site.Rows(), IsEmpty());
  EXPECT_THAT(site.Log(),
              ElementsAre("[Error]:Archivelist update(Error number: 2 Error description: cannot list " +
                          Utf8FromPath(site.Archive("b")) + ": No such file or directory)"));
  site.Archived("c/1.xml");
  site.Refresh();
  EXPECT_THAT(site.ComboTexts(), ElementsAre("a", "c"));
  EXPECT_EQ(site.Codes().currentIndex(), 0);
  EXPECT_THAT(site.Rows(), ElementsAre("1.xml"));
  site.Codes().setCurrentIndex(1);
  fs::remove_all(site.Archive("c"));
  site.Refresh();
  EXPECT_THAT(site.ComboTexts(), ElementsAre("a")) << "the place that was selected is gone";
  EXPECT_THAT(site.Rows(), ElementsAre("1.xml"));
}

TEST(frmArchive, SelectsTheFirstProductCodeThatAppears) {
  ListSite site;
  site.Open();
  site.Archived("a/1.xml");
  site.Refresh();
  EXPECT_THAT(site.ComboTexts(), ElementsAre("a"));
  EXPECT_THAT(site.Rows(), ElementsAre("1.xml"));
}

TEST(frmArchive, KeepsTheListWithoutAnArchiveFolder) {
  ListSite site;
  site.Archived("a/1.xml");
  site.Open();
  site.program.settings.ArchiveFolder = Utf8FromPath(site.home / "none");
  site.Refresh();
  EXPECT_THAT(site.ComboTexts(), ElementsAre("a"));
  EXPECT_THAT(site.Rows(), ElementsAre("1.xml"));
  EXPECT_THAT(site.Log(), IsEmpty());
}

TEST(frmArchive, KeepsTheSelectionOnRefresh) {
  ListSite site;
  for (const char* name : {"b", "d", "e", "f", "h"}) site.Archived("a/" + std::string(name) + ".xml");
  site.Archived("b/d.xml");
  site.Open();
  site.Click(site.Tree(), 1);
  site.Click(site.Tree(), 3, Qt::ControlModifier);
  site.Click(site.Tree(), 4, Qt::ControlModifier);
  EXPECT_THAT(site.Selected(), ElementsAre("d.xml", "f.xml", "h.xml"));
  site.Archived("a/a.xml");
  site.Archived("a/g.xml");
  fs::remove(site.Archive("a/f.xml"));
  site.Refresh();
  EXPECT_THAT(site.Rows(), ElementsAre("a.xml", "b.xml", "d.xml", "e.xml", "g.xml", "h.xml"));
  EXPECT_THAT(site.Selected(), ElementsAre("d.xml", "h.xml"));
  EXPECT_EQ(FromQt(site.Tree().currentIndex().data().toString()), "h.xml");
  site.Codes().setCurrentIndex(1);
  EXPECT_THAT(site.Selected(), IsEmpty()) << "a namesake of another product code";
}

TEST(frmArchive, SharesTheSelectionBetweenItsViews) {
  ListSite site;
  for (const char* name : {"a", "b", "c"}) site.Archived("a/" + std::string(name) + ".xml");
  site.Open();
  site.Click(site.Tree(), 1);
  struct Row {
    const char* key;
    QListView::ViewMode mode;
    QListView::Flow flow;
  };
  for (const Row& row : {Row{"LargeIcons", QListView::IconMode, QListView::LeftToRight},
                         Row{"Smallcons", QListView::ListMode, QListView::LeftToRight},
                         Row{"List", QListView::ListMode, QListView::TopToBottom}}) {
    site.Press(row.key);
    EXPECT_TRUE(site.Icons().isVisible()) << row.key;
    EXPECT_FALSE(site.Tree().isVisible()) << row.key;
    EXPECT_TRUE(site.Find<QAction>(row.key).isChecked()) << row.key;
    EXPECT_EQ(site.Icons().viewMode(), row.mode) << row.key;
    EXPECT_EQ(site.Icons().flow(), row.flow) << row.key;
    EXPECT_TRUE(site.Icons().selectionModel()->isRowSelected(1)) << row.key;
    QCoreApplication::processEvents();
    site.DoubleClick(site.Icons(), 1);
    EXPECT_THAT(site.opened, ElementsAre(site.Archive("a/b.xml"))) << row.key;
    site.opened.clear();
  }
  EXPECT_GT(site.Icons().iconSize().width(), 0);
  site.Press("Details");
  EXPECT_TRUE(site.Tree().isVisible());
  EXPECT_THAT(site.Selected(), ElementsAre("b.xml"));
}

TEST(frmArchive, KeepsLongNamesApartInEveryView) {
  ListSite site;
  for (const char* letter : {"a", "b", "c"}) site.Archived("x/" + std::string(100, *letter) + ".xml");
  site.Open();
  for (const char* key : {"LargeIcons", "Smallcons", "List"}) {
    site.Press(key);
    QCoreApplication::processEvents();
    const QAbstractItemModel& model = *site.Icons().model();
    for (int row = 1; row < 3; ++row) {
      const QRect one = site.Icons().visualRect(model.index(row - 1, 0));
      const QRect next = site.Icons().visualRect(model.index(row, 0));
      EXPECT_FALSE(one.intersects(next)) << key << row;
      EXPECT_GT(one.width(), 50) << key;
    }
  }
}

TEST(frmArchive, RestoresViewAndColumns) {
  ListSite site;
  site.Archived("a/b.xml", "P", 2000);
  site.Archived("a/c.xml", "P", 1000);
  site.Open();
  site.Tree().header()->resizeSection(ArchiveColumn::Filename, 123);
  site.Tree().sortByColumn(ArchiveColumn::Size, Qt::AscendingOrder);
  EXPECT_THAT(site.Rows(), ElementsAre("c.xml", "b.xml"));
  site.Press("List");
  site.form->close();
  site.Open();
  EXPECT_TRUE(site.Icons().isVisible());
  EXPECT_TRUE(site.Find<QAction>("List").isChecked());
  EXPECT_EQ(site.Tree().header()->sectionSize(ArchiveColumn::Filename), 123);
  EXPECT_THAT(site.Rows(), ElementsAre("b.xml", "c.xml")) << "a fresh list has the given order";
}

TEST(frmArchive, SortsByTheClickedColumn) {
  ListSite site;
  struct Row {
    const char* name;
    const char* mode;
    std::size_t size;
    int hoursAgo;
  };
  // Sizes and dates sort differently as texts.
  const auto noon = fs::file_time_type::clock::now();
  for (const Row& row : {Row{"B.xml", "F", 1000, 24 * 40}, Row{"a.xml", "A", 20000, 24 * 2},
                         Row{"c.xml", "P", 100, 24 * 9}, Row{"d.xml", "A", 100, 24 * 400}}) {
    fs::last_write_time(site.Archived(std::string("x/") + row.name, row.mode, row.size),
                        noon - std::chrono::hours(row.hoursAgo));
  }
  site.Open();
  EXPECT_THAT(site.Rows(), ElementsAre("B.xml", "a.xml", "c.xml", "d.xml"));
  QHeaderView& header = *site.Tree().header();
  const auto click = [&](int column) {
    const QPoint place(header.sectionViewportPosition(column) + 20, header.height() / 2);
    QTest::mouseClick(header.viewport(), Qt::LeftButton, {}, place);
    return site.Rows();
  };
  EXPECT_THAT(click(ArchiveColumn::Filename), ElementsAre("a.xml", "B.xml", "c.xml", "d.xml"));
  EXPECT_THAT(click(ArchiveColumn::Size), ElementsAre("c.xml", "d.xml", "B.xml", "a.xml"));
  EXPECT_THAT(click(ArchiveColumn::Size), ElementsAre("a.xml", "B.xml", "c.xml", "d.xml"));
  EXPECT_THAT(click(ArchiveColumn::Modified), ElementsAre("d.xml", "B.xml", "c.xml", "a.xml"));
  EXPECT_THAT(click(ArchiveColumn::Mode), ElementsAre("a.xml", "d.xml", "B.xml", "c.xml"));
  site.Refresh();
  EXPECT_THAT(site.Rows(), ElementsAre("a.xml", "d.xml", "B.xml", "c.xml")) << "a refresh keeps the order";
  click(ArchiveColumn::Mode);
  EXPECT_THAT(click(ArchiveColumn::Mode), ElementsAre("B.xml", "a.xml", "c.xml", "d.xml"))
      << "the third click";
  site.DoubleClick(site.Tree(), 0);
  EXPECT_THAT(site.opened, ElementsAre(site.Archive("x/B.xml")));
}

TEST(frmArchive, OpensAFileByDoubleClickAndEnter) {
  ListSite site;
  site.Archived("4711/a.xml");
  const fs::path file = site.Archived("4711/b\n.xml");
  site.Open();
  EXPECT_THAT(site.Rows(), ElementsAre("a.xml", "b\\x0A.xml"));
  site.DoubleClick(site.Tree(), 1);
  EXPECT_THAT(site.opened, ElementsAre(file));
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
    site.opened.clear();
    site.Tree().setFocus();
    QTest::keyClick(&site.Tree(), key);
    EXPECT_THAT(site.opened, ElementsAre(file)) << key;
  }
  site.opened.clear();
  site.Find<QAction>("Open").trigger();  // of the context menu
  EXPECT_THAT(site.opened, ElementsAre(file));
  EXPECT_TRUE(site.Tree().actions().contains(&site.Find<QAction>("Open")));
  EXPECT_TRUE(site.Icons().actions().contains(&site.Find<QAction>("Delete")));
}

TEST(frmArchive, OpensNothingFromAnEmptyList) {
  ListSite site;
  site.Open();
  site.Tree().setFocus();
  QTest::keyClick(&site.Tree(), Qt::Key_Return);
  QTest::mouseDClick(site.Tree().viewport(), Qt::LeftButton);
  EXPECT_THAT(site.opened, IsEmpty());
}

TEST(frmArchive, RequestsTheDeletionOfTheSelectedFiles) {
  ListSite site;
  for (const char* name : {"a", "b", "c", "d"}) site.Archived("4711/" + std::string(name) + ".xml");
  site.Open();
  site.Press("Delete");
  EXPECT_THAT(site.deletions, IsEmpty()) << "nothing is selected";
  site.Click(site.Tree(), 2);
  site.Click(site.Tree(), 0, Qt::ControlModifier);
  site.Click(site.Tree(), 3, Qt::ControlModifier);
  fs::remove(site.Archive("4711/d.xml"));
  const PathList expected{site.Archive("4711/a.xml"), site.Archive("4711/c.xml")};
  site.Press("Delete");
  EXPECT_THAT(site.deletions, ElementsAre(expected));
  EXPECT_EQ(site.deletionCode, "4711");
  site.Tree().setFocus();
  QTest::keyClick(&site.Tree(), Qt::Key_Delete);
  EXPECT_THAT(site.deletions, ElementsAre(expected, expected));
  fs::remove_all(site.Archive("4711"));
  site.Press("Delete");
  EXPECT_EQ(site.deletions.size(), 2U) << "none of them is there any more";
}

TEST(frmArchive, RefillsAfterADeletion) {
  ListSite site;
  site.Archived("a/1.xml");
  site.Archived("a/2.xml");
  site.Archived("b/3.xml");
  site.Open();
  QObject::connect(site.form.get(), &frmArchive::DeleteRequested, site.form.get(),
                   [&](const PathList& paths, const std::string& productCode) {
                     frmArchiveDelete dialog(site.program.run, site.prompt, productCode, site.form.get());
                     QObject::connect(&dialog, &QDialog::finished, site.form.get(), [&] {
                       bool firstTime = true;
                       site.form->UpdateList(firstTime);
                     });
                     dialog.DeleteItems(paths);
                     dialog.exec();
                   });
  site.Codes().setCurrentIndex(1);
  site.Click(site.Tree(), 0);
  MessageBoxes boxes({Qt::Key_Y, Qt::Key_Return});
  boxes.onDialog = [](QDialog& dialog) {
    auto* const button = dialog.findChild<QPushButton*>(QStringLiteral("cmdDelete"));
    // Posted, so that the message boxes that follow are answered too.
    QTimer::singleShot(0, button, [button] { QTest::mouseClick(button, Qt::LeftButton); });
  };
  site.Press("Delete");
  ASSERT_EQ(boxes.seen.size(), 2U);
  EXPECT_EQ(boxes.seen[1].text, "All selected files are deleted in b");
  EXPECT_THAT(site.ComboTexts(), ElementsAre("a"));
  EXPECT_THAT(site.Rows(), ElementsAre("1.xml", "2.xml"));
}

/// An archive with so many files that filling the list takes a while.
struct LongList : ListSite {
  LongList() {
    Multiply(folder.Write("home/Faultlog/file", test::FaultlogXml("4711", std::string(80, 'P'))), "long",
             Count);
    Archived("short/1.xml");
  }
  static constexpr std::size_t Count = 10'000;
  /// Calls `action` repeatedly while the list is being filled.
  void WhileFilling(const std::function<void()>& action) {
    QObject::connect(&timer, &QTimer::timeout, &timer, [this, action] {
      if (!form || !Find<QProgressBar>("ProBar1").isVisible()) return;
      ++ticks;
      action();
    });
    timer.start(1);
  }
  QTimer timer;
  int ticks = 0;
};

TEST(frmArchive, ShowsTheListRequestedLastWhileFilling) {
  LongList site;
  int nested = 0;
  site.WhileFilling([&] {
    if (nested++ == 0) {
      site.Refresh();
      EXPECT_THAT(site.Rows(), IsEmpty());
      site.Codes().setCurrentIndex(1);
    }
  });
  site.Open();
  ASSERT_GT(nested, 0) << "events ran while it was filled";
  EXPECT_EQ(site.Codes().currentText(), QStringLiteral("short"));
  EXPECT_THAT(site.Rows(), ElementsAre("1.xml"));
  EXPECT_FALSE(site.Find<QProgressBar>("ProBar1").isVisible());
  site.timer.stop();
  site.Codes().setCurrentIndex(0);
  EXPECT_EQ(site.Rows().size(), LongList::Count) << "and the list that was broken off is whole the next time";
}

TEST(frmArchive, ClosesWhileFilling) {
  LongList site;
  QMdiArea area;
  auto* const form = new frmArchive(site.files, site.program.settings, site.program.log, site.memory);
  form->setAttribute(Qt::WA_DeleteOnClose);
  const QPointer<frmArchive> there(form);
  QMdiSubWindow* const frame = area.addSubWindow(form);
  bool closed = false;
  QTimer closer;
  QObject::connect(&closer, &QTimer::timeout, &closer, [&] {
    if (closed || !there || !there->findChild<QProgressBar*>()->isVisible()) return;
    closed = true;
    frame->close();
    EXPECT_TRUE(there) << "it is in use";
  });
  closer.start(1);
  area.show();
  frame->show();
  QTRY_VERIFY(there.isNull());
  EXPECT_TRUE(closed);
  EXPECT_THAT(area.subWindowList(), IsEmpty());
}

TEST(frmArchive, ProcessesEventsWhileListingTenThousandFiles) {
  LongList site;
  QElapsedTimer sinceTick;
  qint64 largest = 0;
  QTimer tick;
  QObject::connect(&tick, &QTimer::timeout, &tick, [&] { largest = std::max(largest, sinceTick.restart()); });
  tick.start(10);
  sinceTick.start();
  QElapsedTimer whole;
  whole.start();
  site.Open();
  std::cout << "10,000 files listed in " << whole.elapsed() << " ms; largest gap between two events "
            << largest << " ms\n";
  EXPECT_EQ(site.Rows().size(), LongList::Count);
  EXPECT_LT(largest, 500);
}

}  // namespace
}  // namespace fieldpost
