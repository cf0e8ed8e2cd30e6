#include "archive/forms/frmArchiveDelete.h"

#include <gmock/gmock.h>

#include <QGroupBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTest>

#include "support/ArchiveFiles.h"
#include "support/DyingFileSystem.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::MessageBoxes;
using test::SeenBox;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const SeenBox Question{"Are you sure you want to Delete", QMessageBox::Information, "File Delete", "Yes No"};

SeenBox Result(const std::string& text) {
  return {text, QMessageBox::Information, "Fieldpost"};
}

struct DeleteSite : test::ArchiveSite {
  std::unique_ptr<frmArchiveDelete> form;

  frmArchiveDelete& Open(const std::string& productCode, PathList paths = {}) {
    const RunContext run{files, clock, program.paths, program.settings, program.log};
    form = std::make_unique<frmArchiveDelete>(run, prompt, productCode);
    form->DeleteItems(std::move(paths));
    form->show();
    form->activateWindow();
    QCoreApplication::processEvents();
    return *form;
  }
  template <class Widget>
  Widget& Find(const char* name) const {
    return *form->findChild<Widget*>(QLatin1String(name));
  }
  void Choose(const char* option) const {
    auto& button = Find<QRadioButton>(option);
    QTest::mouseClick(&button, Qt::LeftButton, {}, QPoint(8, button.height() / 2));
  }
  void Click(const char* name) const { QTest::mouseClick(&Find<QPushButton>(name), Qt::LeftButton); }

  [[nodiscard]] std::string Checked() const {
    std::string checked;
    for (const QRadioButton* button : form->findChildren<QRadioButton*>()) {
      if (button->isChecked()) checked += FromQt(button->objectName()) + ' ';
    }
    return checked;
  }
};

TEST(frmArchiveDelete, HasTheGivenControls) {
  DeleteSite site;
  site.Archived("a/1.xml");
  site.Open("a");
  EXPECT_EQ(site.Find<QGroupBox>("freAllProdcode").title(), QStringLiteral("All product code"));
  EXPECT_EQ(site.Find<QGroupBox>("freThisProdcode").title(), QStringLiteral("Selected product code"));
  EXPECT_EQ(site.Find<QRadioButton>("optDeleteAll").text(), QStringLiteral("Delete all items"));
  EXPECT_EQ(site.Find<QRadioButton>("optDeleteProcess").text(), QStringLiteral("Delete Process items"));
  EXPECT_EQ(site.Find<QRadioButton>("optDeleteSelected").text(), QStringLiteral("Delete selected items"));
  EXPECT_EQ(site.Find<QPushButton>("cmdDelete").text(), QStringLiteral("&Delete"));
  EXPECT_EQ(site.Find<QPushButton>("cmdCancel").text(), QStringLiteral("&Cancel"));
  EXPECT_FALSE(site.Find<QProgressBar>("ProBarDelete").isVisible());
  EXPECT_TRUE(site.Find<QPushButton>("cmdDelete").isEnabled());
}

TEST(frmArchiveDelete, HasOneRuleAtATime) {
  DeleteSite site;
  const fs::path file = site.Archived("a/1.xml");
  site.Open("a", {file});
  EXPECT_EQ(site.Checked(), "optDeleteSelected ");
  for (const char* option : {"optDeleteAll", "optDeleteProcess", "optDeleteSelected", "optDeleteProcess",
                             "optDeleteAll", "optDeleteSelected", "optDeleteAll"}) {
    site.Choose(option);
    EXPECT_EQ(site.Checked(), std::string(option) + ' ');
  }
  site.Open("a");
  EXPECT_EQ(site.Checked(), "") << "nothing was selected";
  const MessageBoxes boxes;
  site.Click("cmdDelete");
  EXPECT_THAT(boxes.seen, IsEmpty()) << "no rule, no question";
}

TEST(frmArchiveDelete, WorksByKeyboard) {
  DeleteSite site;
  site.Archived("a/1.xml");
  site.Open("a");
  QTest::keyClick(&site.Find<QRadioButton>("optDeleteAll"), Qt::Key_Space);
  ASSERT_EQ(site.Checked(), "optDeleteAll ");
  ASSERT_EQ(QApplication::activeWindow(), site.form.get());
  MessageBoxes boxes({Qt::Key_Y, Qt::Key_Return});
  QTest::keyClick(site.form.get(), Qt::Key_D, Qt::AltModifier);
  QTRY_COMPARE(boxes.seen.size(), 2U);
  EXPECT_THAT(boxes.seen, ElementsAre(Question, Result("All files are deleted")));
  EXPECT_THAT(site.Left(), IsEmpty());
}

TEST(frmArchiveDelete, SaysThatTheArchiveIsEmpty) {
  DeleteSite site;
  const MessageBoxes boxes;
  site.Open("");
  QTRY_COMPARE(boxes.seen.size(), 1U);
  EXPECT_THAT(boxes.seen, ElementsAre(Result("Archive folder is empty")));
  EXPECT_FALSE(site.Find<QPushButton>("cmdDelete").isEnabled());
  EXPECT_TRUE(site.form->isVisible());
}

TEST(frmArchiveDelete, SaysWhyTheArchiveCannotBeListed) {
  struct Row {
    const char* name;
    std::function<void(const fs::path&)> replace;
    const char* reason;
  };
  for (const Row& row :
       {Row{"missing", [](const fs::path&) {}, "No such file or directory"},
        Row{"unreadable", [](const fs::path& path) { fs::create_directory_symlink(path, path); },
            "Too many levels of symbolic links"}}) {
    DeleteSite site;
    fs::remove_all(site.Tree("Archive"));
    row.replace(site.Tree("Archive"));
    const MessageBoxes boxes;
    site.Open("");
    QTRY_COMPARE(boxes.seen.size(), 1U);
    EXPECT_THAT(boxes.seen[0].text, HasSubstr("cannot list ")) << row.name;
    EXPECT_THAT(boxes.seen[0].text, HasSubstr(row.reason)) << row.name;
    EXPECT_EQ(boxes.seen[0].icon, QMessageBox::Warning) << row.name;
    EXPECT_THAT(site.Log(), ElementsAre("[Error]:" + boxes.seen[0].text)) << row.name;
    EXPECT_FALSE(site.Find<QPushButton>("cmdDelete").isEnabled()) << row.name;
  }
}

/// A disk whose folders cannot be listed once `fails` is set.
struct FailingDisk final : test::DyingFileSystem {
  bool fails = false;

  [[nodiscard]] std::unique_ptr<FolderHandle> OpenFolder(const fs::path& path) const override {
    if (fails) throw FileError("cannot list", path, "Input/output error");
    return DyingFileSystem::OpenFolder(path);
  }
};

TEST(frmArchiveDelete, SaysWhenTheArchiveBecomesUnreadable) {
  for (const char* rule : {"optDeleteAll", "optDeleteProcess", "optDeleteSelected"}) {
    DeleteSite site;
    const fs::path file = site.Archived("a/1.xml");
    FailingDisk disk;
    const RunContext run{disk, site.clock, site.program.paths, site.program.settings, site.program.log};
    site.form = std::make_unique<frmArchiveDelete>(run, site.prompt, "a");
    site.form->DeleteItems({file});
    site.form->show();
    site.Choose(rule);
    disk.fails = true;
    const MessageBoxes boxes({Qt::Key_Y});
    site.Click("cmdDelete");
    ASSERT_EQ(boxes.seen.size(), 2U) << rule;
    EXPECT_THAT(boxes.seen[1].text, HasSubstr("could not be read or deleted; the first: cannot list "))
        << rule;
    EXPECT_EQ(boxes.seen[1].icon, QMessageBox::Warning) << rule;
    EXPECT_THAT(site.Log(), ElementsAre("[Error]:" + boxes.seen[1].text)) << rule;
    EXPECT_TRUE(fs::exists(file)) << rule;
  }
}

TEST(frmArchiveDelete, DeletesNothingWhenTheAnswerIsNo) {
  struct Row {
    const char* name;
    Qt::Key key;
  };
  DeleteSite site;
  const fs::path file = site.Archived("a/1.xml");
  site.Open("a", {file});
  for (const char* rule : {"optDeleteAll", "optDeleteProcess", "optDeleteSelected"}) {
    for (const Row& row :
         {Row{"No", Qt::Key_N}, Row{"Enter", Qt::Key_Return}, Row{"Escape", Qt::Key_Escape}}) {
      site.Choose(rule);
      const MessageBoxes boxes({row.key});
      site.Click("cmdDelete");
      EXPECT_THAT(boxes.seen, ElementsAre(Question)) << rule << row.name;
      EXPECT_TRUE(fs::exists(file)) << rule << row.name;
      EXPECT_TRUE(site.form->isVisible()) << rule << row.name;
      EXPECT_FALSE(site.Find<QProgressBar>("ProBarDelete").isVisible());
    }
  }
}

/// A rule, the files that it leaves, and its result message.
TEST(frmArchiveDelete, DeletesByTheChosenRule) {
  struct Row {
    const char* rule;
    const char* message;
    std::vector<std::string> left;
  };
  for (const Row& row : {
           Row{"optDeleteAll", "All files are deleted", {}},
           Row{"optDeleteProcess",
               "Process files are deleted in a",
               {"a/archived.xml", "a/empty.xml", "a/missing.xml", "a/note.txt", "b/p.xml"}},
           Row{"optDeleteSelected",
               "All selected files are deleted in a",
               {"a/empty.xml", "a/missing.xml", "a/note.txt", "a/p.xml", "b/p.xml"}},
       }) {
    DeleteSite site;
    site.Archived("a/p.xml", "p");
    const fs::path big = site.Archived("a/big.xml", "P");
    const fs::path archived = site.Archived("a/archived.xml", "a");
    site.Archived("a/empty.xml", "");
    site.folder.Write("home/Faultlog/Archive/a/missing.xml", "<FLFILE/>");
    site.folder.Write("home/Faultlog/Archive/a/note.txt", "text");
    site.Archived("b/p.xml", "P");
    site.folder.Folder("home/Faultlog/Archive/c");
    site.Open("a", {archived, big});
    site.Choose(row.rule);
    QSignalSpy finished(site.form.get(), &QDialog::finished);
    const MessageBoxes boxes({Qt::Key_Y, Qt::Key_Return});
    site.Click("cmdDelete");
    EXPECT_THAT(boxes.seen, ElementsAre(Question, Result(row.message))) << row.rule;
    EXPECT_EQ(site.Left(), row.left) << row.rule;
    EXPECT_FALSE(site.form->isVisible()) << row.rule;
    EXPECT_EQ(finished.count(), 1) << row.rule;
    EXPECT_THAT(site.Log(), IsEmpty()) << row.rule;
  }
}

TEST(frmArchiveDelete, ReportsSuccessWhenThereWasNoFile) {
  DeleteSite site;
  site.folder.Folder("home/Faultlog/Archive/a");
  site.folder.Folder("home/Faultlog/Archive/b");
  site.Open("a");
  site.Choose("optDeleteAll");
  const MessageBoxes boxes({Qt::Key_Y});
  site.Click("cmdDelete");
  EXPECT_THAT(boxes.seen, ElementsAre(Question, Result("All files are deleted")));
  EXPECT_THAT(site.Left(), IsEmpty());
}

TEST(frmArchiveDelete, SaysWhenItFoundNothingToDelete) {
  struct Row {
    const char* name;
    const char* productCode;
    const char* rule;
    const char* message;
  };
  for (const Row& row :
       {Row{"selected, gone meanwhile", "a", "optDeleteSelected", "Files not found"},
        Row{"process, none", "a", "optDeleteProcess", "Process Files not found"},
        Row{"process, folder gone", "none", "optDeleteProcess", "Process Files not found"}}) {
    DeleteSite site;
    site.Archived("a/kept.xml", "a");
    const fs::path gone = site.Archived("a/gone.xml", "P");
    site.Open(row.productCode, {gone});
    fs::remove(gone);
    site.Choose(row.rule);
    const MessageBoxes boxes({Qt::Key_Y});
    site.Click("cmdDelete");
    EXPECT_THAT(boxes.seen, ElementsAre(Question, Result(row.message))) << row.name;
    EXPECT_THAT(site.Left(), ElementsAre("a/kept.xml")) << row.name;
  }
}

TEST(frmArchiveDelete, ShowsTheProductCodeAsText) {
  DeleteSite site;
  const fs::path file = site.Archived("<b>a\nb</b>", "P");
  const fs::path inside = site.Archived("<i>x\n/1.xml", "P");
  site.Open("<i>x\n", {inside});
  const MessageBoxes boxes({Qt::Key_Y});
  site.Click("cmdDelete");
  EXPECT_THAT(boxes.seen, ElementsAre(Question, Result("All selected files are deleted in <i>x\\x0A")));
  EXPECT_TRUE(fs::exists(file)) << "it lies beside the product codes";
}

TEST(frmArchiveDelete, ReportsFilesThatCouldNotBeDeleted) {
  DeleteSite site;
  const fs::path outside = site.folder.Write("outside.xml", "x");
  const fs::path file = site.Archived("a/1.xml");
  site.Open("a", {outside, file, site.folder.Folder("home/Faultlog/Archive/a/x.xml")});
  const MessageBoxes boxes({Qt::Key_Y});
  site.Click("cmdDelete");
  const std::string line =
      "2 files or folders of the archive could not be read or deleted; the first: cannot delete " +
      Utf8FromPath(outside) + ": it is not in the Archive folder";
  EXPECT_THAT(boxes.seen, ElementsAre(Question, SeenBox{line, QMessageBox::Warning, "Fieldpost"}));
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:" + line));
  EXPECT_TRUE(fs::exists(outside));
}

TEST(frmArchiveDelete, DeletesNothingWhileAnotherRunWorks) {
  DeleteSite site;
  const fs::path file = site.Archived("a/1.xml");
  site.Open("a", {file});
  std::unique_ptr<FolderLock> other = site.files.TryLock(site.Tree("Archive"));
  const MessageBoxes boxes({Qt::Key_Y, Qt::Key_Return, Qt::Key_Y, Qt::Key_Return});
  site.Click("cmdDelete");
  ASSERT_EQ(boxes.seen.size(), 2U);
  EXPECT_EQ(boxes.seen[1].icon, QMessageBox::Warning);
  EXPECT_THAT(boxes.seen[1].text, HasSubstr("Another run of Fieldpost is working in"));
  EXPECT_TRUE(fs::exists(file));
  EXPECT_TRUE(site.form->isVisible());
  other.reset();
  site.Click("cmdDelete");
  EXPECT_FALSE(fs::exists(file));
}

/// Answers Yes, and notes whether another run could take the lock while the result is shown.
struct LookingPrompt final : UserPrompt {
  explicit LookingPrompt(test::ArchiveSite& its) : site(its) {}

  void ShowMessage(std::string_view, MessageIcon, std::string_view) override {
    couldLock = site.files.TryLock(site.Tree("Archive")) != nullptr;
  }
  [[nodiscard]] bool AskYesNo(std::string_view, MessageIcon, std::string_view) override { return true; }

  test::ArchiveSite& site;
  std::optional<bool> couldLock;
};

TEST(frmArchiveDelete, ReleasesTheLockWhileTheResultIsShown) {
  DeleteSite site;
  const fs::path file = site.Archived("a/1.xml");
  LookingPrompt prompt(site);
  frmArchiveDelete form(site.program.run, prompt, "a");
  form.DeleteItems({file});
  form.show();
  QTest::mouseClick(form.findChild<QPushButton*>(QStringLiteral("cmdDelete")), Qt::LeftButton);
  EXPECT_FALSE(fs::exists(file));
  EXPECT_EQ(prompt.couldLock, true);
}

TEST(frmArchiveDelete, CancelsTheDeletionWhenClosed) {
  DeleteSite site;
  site.Multiply(site.Archived("a/first.xml"), "a", 9999);
  site.Open("a");
  site.Choose("optDeleteProcess");
  bool wasEnabled = true;
  int ticks = 0;
  QTimer closer;
  QObject::connect(&closer, &QTimer::timeout, &closer, [&] {
    if (!site.Find<QProgressBar>("ProBarDelete").isVisible()) return;
    ++ticks;
    wasEnabled = site.Find<QPushButton>("cmdDelete").isEnabled();
    QTest::keyClick(site.form.get(), Qt::Key_Escape);
  });
  closer.start(0);
  const MessageBoxes boxes({Qt::Key_Y});
  site.Click("cmdDelete");
  ASSERT_GT(ticks, 0) << "events ran while it deleted";
  EXPECT_FALSE(wasEnabled);
  EXPECT_THAT(boxes.seen, ElementsAre(Question)) << "what is not true is not said";
  EXPECT_THAT(site.Left().size(), testing::AllOf(testing::Gt(0U), testing::Lt(10'000U)));
  EXPECT_FALSE(site.form->isVisible());
}

TEST(frmArchiveDelete, EmitsFinishedWhenItCloses) {
  for (const char* way : {"cancel", "escape", "close"}) {
    DeleteSite site;
    site.Archived("a/1.xml");
    site.Open("a");
    QSignalSpy finished(site.form.get(), &QDialog::finished);
    if (way == std::string("cancel")) site.Click("cmdCancel");
    if (way == std::string("escape")) QTest::keyClick(site.form.get(), Qt::Key_Escape);
    if (way == std::string("close")) site.form->close();
    EXPECT_EQ(finished.count(), 1) << way;
    EXPECT_FALSE(site.form->isVisible()) << way;
    EXPECT_THAT(site.Left(), ElementsAre("a/1.xml")) << way;
  }
}

}  // namespace
}  // namespace fieldpost
