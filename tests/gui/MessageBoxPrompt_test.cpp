#include "common/forms/MessageBoxPrompt.h"

#include <gmock/gmock.h>

#include <QGuiApplication>

#include "support/WindowSite.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;

TEST(MessageBoxPrompt, ShowsTextIconAndTitleAsGiven) {
  struct Row {
    std::string text;
    MessageIcon icon;
    std::string title;
    test::SeenBox expected;
  };
  for (const Row& row : {
           Row{"plain", MessageIcon::None, "", {"plain", QMessageBox::NoIcon, "Fieldpost"}},
           Row{"done ", MessageIcon::Information, "T", {"done ", QMessageBox::Information, "T"}},
           Row{"<b>x</b> & y",
               MessageIcon::Exclamation,
               "",
               {"<b>x</b> & y", QMessageBox::Warning, "Fieldpost"}},
           Row{"Grüße\r\n2", MessageIcon::Critical, "Error", {"Grüße\r\n2", QMessageBox::Critical, "Error"}},
       }) {
    test::MessageBoxes boxes;
    MessageBoxPrompt().ShowMessage(row.text, row.icon, row.title);
    EXPECT_THAT(boxes.seen, ElementsAre(row.expected));
  }
}

TEST(MessageBoxPrompt, AsksWithNoAsTheDefault) {
  struct Row {
    Qt::Key key;
    bool expected;
  };
  for (const Row& row : {Row{Qt::Key_Return, false}, Row{Qt::Key_Escape, false}, Row{Qt::Key_N, false},
                         Row{Qt::Key_Y, true}}) {
    test::MessageBoxes boxes({row.key});
    EXPECT_EQ(MessageBoxPrompt().AskYesNo("Sure?", MessageIcon::Information, "File Delete"), row.expected)
        << row.key;
    EXPECT_THAT(boxes.seen,
                ElementsAre(test::SeenBox{"Sure?", QMessageBox::Information, "File Delete", "Yes No"}));
  }
}

TEST(MessageBoxPrompt, ShowsTheNormalPointerOverABox) {
  MessageBoxPrompt prompt;
  prompt.SetBusyPointer(true);
  prompt.SetBusyPointer(true);
  ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
  bool busyInOptions = true;
  prompt.SetOptionsDialog([&](OptionsPage) { busyInOptions = QGuiApplication::overrideCursor() != nullptr; });
  prompt.ShowOptions(OptionsPage::Partner);
  EXPECT_FALSE(busyInOptions);
  EXPECT_NE(QGuiApplication::overrideCursor(), nullptr);
  prompt.SetBusyPointer(false);
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

}  // namespace
}  // namespace fieldpost
