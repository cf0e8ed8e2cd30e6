#include <gmock/gmock.h>

#include <QDialog>
#include <QLineEdit>
#include <QPrintPreviewWidget>
#include <QPrinterInfo>

#include "support/CommandOutput.h"
#include "support/ViewerSite.h"

namespace fieldpost {
namespace {

using testing::IsEmpty;

TEST(frmXMLfile, PrintsToAPdfWithoutAnyPrinter) {
  ASSERT_THAT(QPrinterInfo::availablePrinters(), IsEmpty()) << "this test is for machines without printers";
  test::ViewerSite viewer;
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

TEST(frmXMLfile, PrintsNothingWhenTheDialogIsCancelled) {
  test::ViewerSite viewer;
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

TEST(frmXMLfile, ShowsOneMessageForEveryPrintingFailure) {
  struct Row {
    const char* what;
    std::string xml;
    std::string target;  // below the site's folder
    std::string logged;
  };
  for (const Row& row : {Row{"nothing to print", "no XML", "", "File is not XML format"},
                         Row{"a file that cannot be written", "<a/>", "a-folder-that-is-not-there/x.pdf",
                             "a-folder-that-is-not-there"}}) {
    test::ViewerSite viewer;
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
    EXPECT_THAT(viewer.Log(), testing::Contains(testing::HasSubstr(row.logged)))
        << "a file's reason is logged";
  }
}

TEST(frmXMLfile, ReportsAPrintingFailureOfThePreview) {
  test::ViewerSite viewer;
  viewer.OpenText("<a/>");
  const std::filesystem::path target = viewer.folder / "a-folder-that-is-not-there" / "x.pdf";
  test::MessageBoxes boxes;
  int targets = 0;
  boxes.onDialog = [&](QDialog& dialog) {
    if (auto* const file = dialog.findChild<QLineEdit*>(QStringLiteral("filename"))) {
      ++targets;
      file->setText(PathToQt(target));
      return dialog.accept();
    }
    for (QAction* const action : dialog.findChildren<QAction*>()) {
      // The printer dialog opens within the action.
      if (action->text() == QStringLiteral("Print")) QTimer::singleShot(0, action, &QAction::trigger);
    }
  };
  viewer.Trigger("mnuPreview");
  EXPECT_EQ(targets, 1);
  EXPECT_THAT(boxes.seen, testing::ElementsAre(NoPrinter));
  EXPECT_THAT(viewer.Log(), testing::ElementsAre(testing::HasSubstr("a-folder-that-is-not-there")));
}

TEST(frmXMLfile, PreviewsThePages) {
  test::ViewerSite viewer;
  viewer.Open(test::WriteMany(viewer.folder, 300));
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
