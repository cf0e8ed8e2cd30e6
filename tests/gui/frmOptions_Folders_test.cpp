#include "support/OptionsForm.h"

namespace fieldpost {
namespace {

using test::frmOptionsTest;
using test::Part;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(frmOptionsTest, RefusesInTheGivenOrder) {
  struct Row {
    const char* name;
    std::string process, archive;
    std::vector<std::string> latest;
    std::string server;
    test::SeenBox box;
    OptionsPage page;
    std::string focus;
    std::vector<int> selected;
  };
  const std::string good = Tree("Latest");
  const std::string process = Tree("Process");
  const std::string none = Folder("x") + "none/";
  const auto critical = QMessageBox::Critical;
  const auto exclamation = QMessageBox::Warning;
  for (const Row& row : {
           Row{"everything is wrong",
               none,
               none,
               {none},
               "",
               {"Path not found!", critical, "ProcessFolder"},
               OptionsPage::Folders,
               "txtProcessFolder",
               {}},
           Row{"all but the Process folder",
               process,
               none,
               {none},
               "",
               {"Path not found!", critical, "ArchiveFolder"},
               OptionsPage::Folders,
               "txtOutputFolder",
               {}},
           Row{"a row is the Process folder",
               process,
               "",
               {good, process, none},
               "",
               {"The LatestFolder and ProcessFolder can't be same", exclamation, "Fieldpost"},
               OptionsPage::Folders,
               "LVPath",
               {1}},
           Row{"a row is missing",
               process,
               "",
               {good, none, process},
               "",
               {"Folder not found: " + none, exclamation, "Fieldpost"},
               OptionsPage::Folders,
               "LVPath",
               {1}},
           Row{"no rows, no server",
               "",
               "",
               {},
               "",
               {"Latest folder(s) missing", exclamation, "Missing Options"},
               OptionsPage::Folders,
               "txtInputFolder",
               {}},
           Row{"no server",
               "",
               "",
               {good},
               " ",
               {"SMTP mail server missing", exclamation, "Missing Options"},
               OptionsPage::MailServer,
               "txtSMTPserver",
               {}},
       }) {
    SetRows(row.latest);
    const MailSettings before = settings_;
    Shown();
    Turn(OptionsPage::Partner);
    SetText("txtProcessFolder", row.process);
    SetText("txtOutputFolder", row.archive);
    SetText("txtSMTPserver", row.server);
    test::MessageBoxes boxes;
    Press("cmdOK");
    EXPECT_THAT(boxes.seen, ElementsAre(row.box)) << row.name;
    EXPECT_EQ(Page(), row.page) << row.name;
    EXPECT_EQ(Focus(), row.focus) << row.name;
    EXPECT_EQ(SelectedRows(), row.selected) << row.name;
    EXPECT_TRUE(form_->isVisible()) << row.name;
    EXPECT_EQ(settings_, before) << row.name;
  }
}

TEST_F(frmOptionsTest, AcceptsEmptyFoldersAndAnotherCase) {
  const std::string other = Folder("home/Faultlog/pROCESS");
  for (const std::string& row : {Tree("Latest"), other}) {
    SetRows({row});
    Shown();
    if (row == Tree("Latest")) {
      SetText("txtProcessFolder", "");
      SetText("txtOutputFolder", "");
    }
    test::MessageBoxes boxes;
    Press("cmdOK");
    EXPECT_THAT(boxes.seen, IsEmpty()) << row;
    EXPECT_FALSE(form_->isVisible());
  }
  EXPECT_EQ(settings_.ProcessFolder, "") << "an empty box is stored empty";
  EXPECT_EQ(settings_.ArchiveFolder, "");
}

TEST_F(frmOptionsTest, RefusesFoldersThatHoldOtherFiles) {
  struct Row {
    const char* button;
    std::string chosen, message;
  };
  for (const Row& row : {
           Row{"cmdArchiveFolder", Tree("Process"), "This Directory is charged whit Process Files"},
           Row{"cmdArchiveFolder", Tree("Latest"), "This Directory is charged whit Latest Files"},
           Row{"cmdProcessPath", Tree("Archive"), "This Directory is charged whit Archive Files"},
           Row{"cmdProcessPath", Tree("Latest"), "This Directory is charged whit Latest Files"},
           Row{"cmdBrowserAdd", Tree("Process"), "This directory is charged whit Process files"},
           Row{"cmdBrowserAdd", Tree("Archive"), "This directory is charged whit Archive files"},
       }) {
    Shown();
    EXPECT_THAT(Choose(row.button, row.chosen),
                ElementsAre(test::SeenBox{row.message, QMessageBox::Warning, "Charged"}))
        << row.button;
    EXPECT_EQ(Text("txtOutputFolder"), Tree("Archive"));
    EXPECT_EQ(Text("txtProcessFolder"), Tree("Process"));
    EXPECT_THAT(Rows(), ElementsAre(Tree("Latest")));
    EXPECT_EQ(Focus(), row.button) << "the user may choose another at once";
  }
}

TEST_F(frmOptionsTest, AddsTheSeparatorToChosenFolders) {
  Shown();
  const std::string folder = Folder("Größe & more");
  EXPECT_THAT(Choose("cmdArchiveFolder", folder.substr(0, folder.size() - 1)), IsEmpty());
  EXPECT_EQ(Text("txtOutputFolder"), folder);
  EXPECT_THAT(Choose("cmdProcessPath", Folder("b")), IsEmpty());
  EXPECT_EQ(Text("txtProcessFolder"), Folder("b"));
  EXPECT_THAT(Choose("cmdBrowserAdd", Folder("c")), IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre(Tree("Latest"), Folder("c")));
  EXPECT_THAT(SelectedRows(), ElementsAre(1));
  EXPECT_THAT(Choose("cmdBrowserAdd", Tree("Latest")), IsEmpty());
  EXPECT_THAT(Rows(), ElementsAre(Tree("Latest"), Folder("c"))) << "one that is there is not added again";
  EXPECT_THAT(SelectedRows(), ElementsAre(0));
}

TEST_F(frmOptionsTest, ChangesNothingWhenAFileDialogIsCancelled) {
  for (const char* button : {"cmdArchiveFolder", "cmdProcessPath", "cmdBrowserAdd", "cmdTlsCaFile"}) {
    Shown();
    if (std::string_view(button) == "cmdTlsCaFile") Turn(OptionsPage::MailServer);
    EXPECT_THAT(Choose(button, Folder("b"), Qt::Key_Escape), IsEmpty());
    EXPECT_EQ(Text("txtOutputFolder"), Tree("Archive"));
    EXPECT_EQ(Text("txtProcessFolder"), Tree("Process"));
    EXPECT_EQ(Text("txtTlsCaFile"), "");
    EXPECT_THAT(Rows(), ElementsAre(Tree("Latest")));
  }
}

TEST_F(frmOptionsTest, RefusesTypedFoldersThatCannotBeAdded) {
  const std::string file = Utf8FromPath(site_.folder.Write("f.xml", ""));
  const auto warning = QMessageBox::Warning;
  const test::SeenBox filename{"Path not found! (Make sure you not insert filename)", warning, "Fieldpost"};
  const test::SeenBox incorrect{"Folder not found or path is incorrect", warning, "Fieldpost"};
  for (const auto& [typed, box] : std::vector<std::pair<std::string, test::SeenBox>>{
           {file, filename},
           {Folder("x") + "none", incorrect},
           {"home", incorrect},
           {"", incorrect},
           {Tree("Process"), {"This directory is charged whit Process files", warning, "Charged"}},
           {Tree("Archive"), {"This directory is charged whit Archive files", warning, "Charged"}}}) {
    Shown();
    QTest::keyClicks(&Box("txtInputFolder"), ToQt(typed));
    test::MessageBoxes boxes;
    Press("cmdAddPath");
    EXPECT_THAT(boxes.seen, ElementsAre(box)) << typed;
    EXPECT_EQ(Text("txtInputFolder"), typed);
    EXPECT_THAT(Rows(), ElementsAre(Tree("Latest")));
  }
}

TEST_F(frmOptionsTest, AddsATypedFolderByButtonAndEnter) {
  Shown();
  const test::MessageBoxes boxes;
  const std::string folder = Folder("new");
  SetText("txtInputFolder", folder.substr(0, folder.size() - 1));
  Press("cmdAddPath");
  EXPECT_THAT(Rows(), ElementsAre(Tree("Latest"), folder));
  EXPECT_EQ(Text("txtInputFolder"), "");
  Box("txtInputFolder").setFocus();
  SetText("txtInputFolder", Folder("other"));
  QTest::keyClick(&Box("txtInputFolder"), Qt::Key_Return);
  EXPECT_THAT(Rows(), ElementsAre(Tree("Latest"), folder, Folder("other")));
  EXPECT_TRUE(form_->isVisible()) << "Enter was for the box";
  SetText("txtInputFolder", folder);
  QTest::keyClick(&Box("txtInputFolder"), Qt::Key_Enter, Qt::KeypadModifier);
  EXPECT_THAT(Rows(), ElementsAre(Tree("Latest"), folder, Folder("other")));
  EXPECT_THAT(SelectedRows(), ElementsAre(1));
  QTest::keyClick(&Box("txtInputFolder"), Qt::Key_Return);
  EXPECT_FALSE(form_->isVisible()) << "with nothing typed it is for the dialog";
  EXPECT_THAT(boxes.seen, IsEmpty());
}

TEST_F(frmOptionsTest, DeletesTheSelectedRows) {
  SetRows({"/1/", "/2/", "/3/", "/4/"});
  Shown();
  EXPECT_FALSE(Part<QPushButton>(*form_, "cmdDeletePath").isEnabled());
  List().setFocus();
  List().setCurrentItem(List().topLevelItem(1));
  QTest::keyClick(&List(), Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_THAT(SelectedRows(), ElementsAre(1, 2));
  QTest::keyClick(&List(), Qt::Key_Delete);
  EXPECT_THAT(Rows(), ElementsAre("/1/", "/4/"));
  EXPECT_EQ(SelectedRows().size(), 1U) << "so that the next can go at once";
  Press("cmdDeletePath");
  Press("cmdDeletePath");
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_FALSE(Part<QPushButton>(*form_, "cmdDeletePath").isEnabled());
  QTest::keyClick(&List(), Qt::Key_Delete);
  EXPECT_EQ(program_.lists.LatestFolderList.size(), 4U) << "nothing is saved yet";
}

TEST_F(frmOptionsTest, MapsAndDisconnectsNetworkDrives) {
  for (const auto& [button, expected] :
       std::vector<std::pair<const char*, std::string>>{{"cmdLMapNetDriver", "connect"},
                                                        {"cmdAMapNetDriver", "connect"},
                                                        {"cmdPMapNetDriver", "connect"},
                                                        {"cmdADisconnect", "disconnect"},
                                                        {"cmdPDisconnect", "disconnect"}}) {
    Shown();
    drives_.calls.clear();
    drives_.problem = "";
    test::MessageBoxes boxes;
    Press(button);
    EXPECT_THAT(drives_.calls, ElementsAre(expected)) << button;
    EXPECT_THAT(boxes.seen, IsEmpty());
    drives_.problem = "No <file> manager.";
    Press(button);
    EXPECT_THAT(boxes.seen,
                ElementsAre(test::SeenBox{"No <file> manager.", QMessageBox::Warning, "Fieldpost"}));
  }
}

}  // namespace
}  // namespace fieldpost
