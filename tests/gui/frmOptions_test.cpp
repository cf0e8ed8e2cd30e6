#include "environment/frmOptions.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTreeWidget>
#include <functional>
#include <utility>

#include "environment/DefaultRecipients.h"
#include "environment/RegistryKeys.h"
#include "platform/IniFile.h"
#include "support/WindowSite.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class FakeHosts final : public HostLookup {
 public:
  std::vector<std::string> asked;
  std::vector<std::uint32_t> addresses{0x0100007F};

  bool Start() override { return true; }
  std::vector<std::uint32_t> Resolve(std::string_view hostName) override {
    asked.emplace_back(hostName);
    return addresses;
  }
  void Stop() override {}
};

class FakeEcho final : public IcmpEcho {
 public:
  std::uint32_t status = echo_status::success;
  std::function<void()> meanwhile;

  std::uint32_t Send(const EchoRequest& /*request*/, StatusDisplay& /*display*/) override {
    if (meanwhile) meanwhile();
    return status;
  }
};

class FakeDrives final : public NetworkDrives {
 public:
  std::vector<std::string> asked;
  std::string failure;

  bool Connect(std::string& problem) override { return Ask("connect", problem); }
  bool Disconnect(std::string& problem) override { return Ask("disconnect", problem); }

 private:
  bool Ask(std::string what, std::string& problem) {
    asked.push_back(std::move(what));
    problem = failure;
    return failure.empty();
  }
};

template <class T>
T& Part(const QWidget& form, const char* name) {
  T* const part = form.findChild<T*>(QString::fromLatin1(name));
  if (part == nullptr) throw std::runtime_error(std::string("no part ") + name);
  return *part;
}

class OptionsForm : public testing::Test {
 protected:
  [[nodiscard]] std::string Tree(std::string_view name) const {
    return WithSeparator(Utf8FromPath(site_.Tree(name)));
  }
  [[nodiscard]] std::string Folder(std::string_view name) const {
    return WithSeparator(Utf8FromPath(site_.folder.Folder(name)));
  }
  std::string Recipient(std::string_view key) {
    return program_.registry.QueryText(HKEY_LOCAL_MACHINE, key, "");
  }

  /// The dialog, on the screen but not waited for.
  frmOptions& Shown() {
    form_ = std::make_unique<frmOptions>(store_, site_.files, program_.paths, site_.prompt, ping_, drives_,
                                         site_.memory);
    form_->show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(form_.get()));
    return *form_;
  }
  [[nodiscard]] QLineEdit& Box(const char* name) const { return Part<QLineEdit>(*form_, name); }
  [[nodiscard]] QTreeWidget& List() const { return Part<QTreeWidget>(*form_, "LVPath"); }
  [[nodiscard]] std::string Text(const char* name) const { return FromQt(Box(name).text()); }
  void SetText(const char* name, std::string_view text) const { Box(name).setText(ToQt(text)); }
  void Turn(OptionsPage page) const {
    Part<QTabWidget>(*form_, "SSTab1").setCurrentIndex(static_cast<int>(page));
  }
  [[nodiscard]] OptionsPage Page() const {
    return static_cast<OptionsPage>(Part<QTabWidget>(*form_, "SSTab1").currentIndex());
  }
  [[nodiscard]] std::string Focus() const {
    return form_->focusWidget() == nullptr ? "" : FromQt(form_->focusWidget()->objectName());
  }
  void Press(const char* button) const {
    QTest::mouseClick(&Part<QPushButton>(*form_, button), Qt::LeftButton);
  }
  [[nodiscard]] std::vector<std::string> Rows() const {
    std::vector<std::string> rows;
    for (int i = 0; i < List().topLevelItemCount(); ++i)
      rows.push_back(FromQt(List().topLevelItem(i)->text(0)));
    return rows;
  }
  [[nodiscard]] std::vector<int> SelectedRows() const {
    std::vector<int> rows;
    for (const QTreeWidgetItem* row : List().selectedItems()) {
      rows.push_back(List().indexOfTopLevelItem(const_cast<QTreeWidgetItem*>(row)));
    }
    std::ranges::sort(rows);
    return rows;
  }
  void SetRows(const std::vector<std::string>& folders) {
    program_.lists.LatestFolderList.clear();
    for (const std::string& folder : folders) {
      program_.lists.LatestFolderList.push_back(PathFromUtf8(folder));
    }
  }
  /// Presses a button, chooses a folder (or a file) in the dialog that it brings up, and answers the message
  /// boxes after it.
  std::vector<test::SeenBox> Choose(const char* button, const std::string& path,
                                    Qt::Key key = Qt::Key_Return) const {
    test::MessageBoxes boxes;
    boxes.onDialog = [&](QDialog& dialog) {
      Part<QLineEdit>(dialog, "fileNameEdit").setText(ToQt(path));
      QTest::keyClick(
          key == Qt::Key_Escape ? static_cast<QWidget*>(&dialog) : &Part<QLineEdit>(dialog, "fileNameEdit"),
          key);
    };
    Press(button);
    return boxes.seen;
  }

  test::WindowSite site_;
  FieldpostProgram& program_ = site_.program;
  MailSettings& settings_ = program_.settings;
  OptionsStore store_{site_.files, site_.keys, settings_, program_.lists.LatestFolderList, site_.home};
  FakeHosts hosts_;
  FakeEcho echo_;
  modMailServerPing ping_{hosts_, echo_, site_.display};
  FakeDrives drives_;
  std::unique_ptr<frmOptions> form_;
};

TEST_F(OptionsForm, LoadsEveryControl) {
  settings_ = {.ArchiveFolder = "/a/",
               .ProcessFolder = "/p/",
               .SMTPServer = "mail.example",
               .SenderAddress = "s@x",
               .Organization = "Müller & Söhne",
               .MailUserName = "user",
               .MailPassword = "secret",
               .MailHostName = "host",
               .NumAttachments = "4",
               .PartnerID = "AB12",
               .UseZip = "True",
               .SendFault = "True",
               .SendPPC = "False",
               .UseDefaultMailSetup = "False",
               .SMTPPort = "2525",
               .TryCount = "3",
               .Timeout = "20",
               .TlsMode = "required",
               .TlsCaFile = "/ca.pem"};
  SetRows({"/l1/", "/l2/"});
  site_.SetRegistry(FaultlogRecipientKey, "", "f@x");
  site_.SetRegistry(PpcRecipientKey, "", "p@x");
  Shown();
  for (const auto& [name, text] :
       std::vector<std::pair<const char*, std::string>>{{"txtOutputFolder", "/a/"},
                                                        {"txtProcessFolder", "/p/"},
                                                        {"txtSMTPserver", "mail.example"},
                                                        {"txtSenderAddres", "s@x"},
                                                        {"txtOrganization", "Müller & Söhne"},
                                                        {"txtMailUserName", "user"},
                                                        {"txtMailPassword", "secret"},
                                                        {"txtMailHostName", "host"},
                                                        {"txtPartnerID", "AB12"},
                                                        {"txtSMTPport", "2525"},
                                                        {"txtTryCont", "3"},
                                                        {"txtTimeout", "20"},
                                                        {"txtFaultMailAddress", "f@x"},
                                                        {"txtPPCMailAddress", "p@x"},
                                                        {"txtTlsCaFile", "/ca.pem"},
                                                        {"txtInputFolder", ""}}) {
    EXPECT_EQ(Text(name), text) << name;
  }
  for (const auto& [name, checked] : std::vector<std::pair<const char*, bool>>{
           {"chkUseZip", true}, {"chkFault", true}, {"chkPPC", false}, {"ChkMailSetup", false}}) {
    EXPECT_EQ(Part<QCheckBox>(*form_, name).isChecked(), checked) << name;
  }
  EXPECT_EQ(Part<QComboBox>(*form_, "CmbNumAttachments").currentText(), "5");
  EXPECT_EQ(Part<QComboBox>(*form_, "CmbTlsMode").currentIndex(), 1);
  EXPECT_THAT(Rows(), ElementsAre("/l1/", "/l2/"));
  EXPECT_EQ(List().headerItem()->text(0), "Path");
  EXPECT_EQ(List().columnCount(), 1);
  EXPECT_EQ(form_->windowTitle(), "Options");
}

TEST_F(OptionsForm, WhatNeverWasSetShowsItsDefault) {
  settings_ = {};
  Shown();
  EXPECT_EQ(Text("txtSMTPport"), "25");
  EXPECT_EQ(Text("txtTryCont"), "2");
  EXPECT_EQ(Text("txtTimeout"), "10");
  EXPECT_EQ(Text("txtFaultMailAddress"), DefaultFaultlogRecipient());
  EXPECT_EQ(Text("txtPPCMailAddress"), DefaultPpcRecipient());
  EXPECT_EQ(Part<QComboBox>(*form_, "CmbNumAttachments").currentText(), "1");
  EXPECT_EQ(Part<QComboBox>(*form_, "CmbTlsMode").currentText(), "When the server offers it");
  EXPECT_FALSE(Part<QCheckBox>(*form_, "chkFault").isChecked());
  EXPECT_EQ(settings_, MailSettings()) << "showing sets nothing";
}

TEST_F(OptionsForm, TheNumberOfAttachmentsIsAPlaceInItsList) {
  Shown();
  const auto& list = Part<QComboBox>(*form_, "CmbNumAttachments");
  QStringList entries;
  for (int i = 0; i < list.count(); ++i) entries << list.itemText(i);
  EXPECT_EQ(entries.join(u' '), "1 2 3 4 5 6 7 8 9 All");
  for (const auto& [stored, shown] : std::vector<std::pair<std::string, QString>>{
           {"0", "1"}, {"8", "9"}, {"9", "All"}, {"10", "1"}, {"-1", "1"}, {"x", "1"}, {"", "1"}}) {
    settings_.NumAttachments = stored;
    EXPECT_EQ(Part<QComboBox>(Shown(), "CmbNumAttachments").currentText(), shown) << stored;
  }
}

TEST_F(OptionsForm, LoadedButNeverShownItTakesOverTheSuitesPartnerID) {
  const fs::path suite = site_.folder.Write("home/faultlog.ini", "[PlaceInfo]\nPartnerID=\"AB12  \"\n");
  settings_.PartnerID = "OLD";
  const frmOptions form(store_, site_.files, program_.paths, site_.prompt, ping_, drives_, site_.memory);
  EXPECT_FALSE(form.isVisible());
  EXPECT_EQ(Part<QLineEdit>(form, "txtPartnerID").text(), "AB12");
  EXPECT_EQ(settings_.PartnerID, "AB12");
  EXPECT_EQ(ReadIniValue(site_.files, site_.home / "Options.ini", "Mail Options", "PartnerID"), "AB12");
  EXPECT_EQ(test::ReadFile(suite), "[PlaceInfo]\nPartnerID=AB12\n");
}

TEST_F(OptionsForm, EachShowingLoadsAnew) {
  frmOptions form(store_, site_.files, program_.paths, site_.prompt, ping_, drives_, site_.memory);
  site_.folder.Write("home/faultlog.ini", "[PlaceInfo]\nPartnerID=NEW7\n");
  settings_.SMTPServer = "other.example";
  for (const OptionsPage page : {OptionsPage::Partner, OptionsPage::MailServer}) {
    test::MessageBoxes boxes;
    std::vector<QString> seen;
    boxes.onDialog = [&](QDialog& dialog) {
      seen = {Part<QLineEdit>(dialog, "txtPartnerID").text(),
              Part<QLineEdit>(dialog, "txtSMTPserver").text()};
      Part<QLineEdit>(dialog, "txtSMTPserver").setText(QStringLiteral("typed"));
      dialog.close();
    };
    form.ShowPage(page);
    EXPECT_THAT(seen, ElementsAre("NEW7", "other.example"));
  }
  EXPECT_EQ(settings_.PartnerID, "NEW7");
  EXPECT_EQ(settings_.SMTPServer, "other.example");
}

TEST_F(OptionsForm, ChecksInTheirOrder) {
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

TEST_F(OptionsForm, WhatPassesTheChecks) {
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

TEST_F(OptionsForm, FoldersThatServeForOtherFilesAreRefused) {
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

TEST_F(OptionsForm, ChosenFoldersAreTakenWithTheirSeparator) {
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

TEST_F(OptionsForm, AClosedFolderDialogChangesNothing) {
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

TEST_F(OptionsForm, TypedFoldersAreAddedOrRefused) {
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

TEST_F(OptionsForm, ATypedFolderIsAddedByButtonOrEnter) {
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

TEST_F(OptionsForm, DeletesTheSelectedRows) {
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

TEST_F(OptionsForm, ThePartnerIDTakesLettersAndDigits) {
  for (const auto& [typed, expected] : std::vector<std::pair<QString, QString>>{
           {"AB-", "AB"}, {"A-B", "AB"}, {"a1 Z_9", "a1Z9"}, {"/0:9@A[Z`a{z", "09AZaz"}, {"éß", ""}}) {
    settings_.PartnerID = "";
    Shown();
    Turn(OptionsPage::Partner);
    for (const QChar key : typed)
      QTest::sendKeyEvent(QTest::Click, &Box("txtPartnerID"), Qt::Key_unknown, key, {});
    EXPECT_EQ(Box("txtPartnerID").text(), expected);
    EXPECT_EQ(Box("txtPartnerID").cursorPosition(), expected.size());
  }
}

TEST_F(OptionsForm, OnlyTheLastCharacterOfThePartnerIDIsChecked) {
  settings_.PartnerID = "AB";
  Shown();
  QLineEdit& box = Box("txtPartnerID");
  box.setCursorPosition(1);
  QTest::keyClick(&box, '-');
  EXPECT_EQ(box.text(), "A-B");
  box.setCursorPosition(1);
  box.setText(QStringLiteral("A-B--"));
  EXPECT_EQ(box.text(), "A-B");
  QTest::keyClick(&box, '+');
  EXPECT_EQ(box.text(), "A-B");
  EXPECT_EQ(box.cursorPosition(), 3);
}

TEST_F(OptionsForm, ThePasswordIsMaskedAndKept) {
  settings_.MailPassword = "s3cret";
  Shown();
  QLineEdit& box = Box("txtMailPassword");
  EXPECT_EQ(box.displayText(), "******");
  for (const auto mode : {QLineEdit::Normal, QLineEdit::NoEcho}) {
    box.setEchoMode(mode);
    QTest::keyClicks(&box, QStringLiteral("x"));
    EXPECT_EQ(box.displayText(), QString(box.text().size(), u'*'));
  }
  EXPECT_EQ(box.text(), "s3cretxx");
  SetText("txtMailPassword", " new word ");
  Press("cmdOK");
  EXPECT_EQ(settings_.MailPassword, " new word ");
  EXPECT_EQ(MailSettingsStore(site_.files, site_.home).Load().MailPassword, " new word ");
}

TEST_F(OptionsForm, SavingWithNothingTouchedKeepsEverySetting) {
  site_.SetRegistry(FaultlogRecipientKey, "", "f@x");
  site_.SetRegistry(PpcRecipientKey, "", "p@x");
  settings_ = {.ArchiveFolder = Tree("Archive"),
               .ProcessFolder = Tree("Process"),
               .SMTPServer = "mail.example",
               .SenderAddress = "s@x",
               .Organization = "o  o",
               .MailUserName = "user",
               .MailPassword = " pass\"word ",
               .MailHostName = "host",
               .NumAttachments = "9",
               .PartnerID = "AB12",
               .UseZip = "True",
               .SendFault = "False",
               .SendPPC = "True",
               .UseDefaultMailSetup = "False",
               .SMTPPort = "2525",
               .TryCount = "3",
               .Timeout = "20",
               .TlsMode = "none",
               .TlsCaFile = "/ca.pem"};
  const fs::path odd = site_.folder.Path() / fs::path("na\xEFve");
  fs::create_directory(odd);
  program_.lists.LatestFolderList = {site_.Tree("Latest") / "", odd / ""};
  const MailSettings before = settings_;
  const PathList folders = program_.lists.LatestFolderList;
  Shown();
  test::MessageBoxes boxes;
  Press("cmdOK");
  EXPECT_THAT(boxes.seen, IsEmpty());
  EXPECT_EQ(settings_, before);
  EXPECT_EQ(MailSettingsStore(site_.files, site_.home).Load(), before);
  EXPECT_EQ(program_.lists.LatestFolderList, folders) << "a name that is no UTF-8 stays what it is";
  EXPECT_EQ(Recipient(FaultlogRecipientKey), "f@x");
  EXPECT_EQ(Recipient(PpcRecipientKey), "p@x");
}

TEST_F(OptionsForm, SavesWhatWasTyped) {
  Shown();
  for (const auto& [name, text] :
       std::vector<std::pair<const char*, const char*>>{{"txtSMTPserver", " new.example\n"},
                                                        {"txtSenderAddres", "new@x "},
                                                        {"txtOrganization", "New Co"},
                                                        {"txtMailUserName", "nu"},
                                                        {"txtMailPassword", "np"},
                                                        {"txtMailHostName", "nh"},
                                                        {"txtPartnerID", "N1"},
                                                        {"txtSMTPport", "465"},
                                                        {"txtTryCont", ""},
                                                        {"txtTimeout", "60"},
                                                        {"txtFaultMailAddress", "nf@x"},
                                                        {"txtPPCMailAddress", ""},
                                                        {"txtOutputFolder", ""},
                                                        {"txtTlsCaFile", "/new.pem"}}) {
    SetText(name, text);
  }
  for (const char* name : {"chkUseZip", "chkFault", "chkPPC"}) Part<QCheckBox>(*form_, name).setChecked(true);
  Part<QComboBox>(*form_, "CmbNumAttachments").setCurrentText(QStringLiteral("All"));
  Part<QComboBox>(*form_, "CmbTlsMode").setCurrentIndex(2);
  test::MessageBoxes boxes;
  Press("cmdOK");
  EXPECT_THAT(boxes.seen, IsEmpty());
  const MailSettings expected{.ArchiveFolder = "",
                              .ProcessFolder = Tree("Process"),
                              .SMTPServer = "new.example",
                              .SenderAddress = "new@x",
                              .Organization = "New Co",
                              .MailUserName = "nu",
                              .MailPassword = "np",
                              .MailHostName = "nh",
                              .NumAttachments = "9",
                              .PartnerID = "N1",
                              .UseZip = "True",
                              .SendFault = "True",
                              .SendPPC = "True",
                              .UseDefaultMailSetup = "False",
                              .SMTPPort = "465",
                              .TryCount = "",
                              .Timeout = "60",
                              .TlsMode = "none",
                              .TlsCaFile = "/new.pem"};
  EXPECT_EQ(settings_, expected);
  EXPECT_EQ(MailSettingsStore(site_.files, site_.home).Load(), expected);
  EXPECT_EQ(ReadIniValue(site_.files, site_.home / "faultlog.ini", "PlaceInfo", "PartnerID"), "N1");
  EXPECT_EQ(Recipient(FaultlogRecipientKey), "nf@x");
  EXPECT_EQ(Recipient(PpcRecipientKey), "");
  EXPECT_EQ(test::ReadFile(site_.home / "LatestList.dat"), Tree("Latest") + "\n");
}

TEST_F(OptionsForm, AnEmptyPartnerIDLeavesBothFilesAlone) {
  const fs::path suite = site_.folder.Write("home/faultlog.ini", "[PlaceInfo]\nPartnerID=AB12\n");
  Shown();
  const std::string before =
      ReadIniValue(site_.files, site_.home / "Options.ini", "Mail Options", "PartnerID");
  SetText("txtPartnerID", "");
  Press("cmdOK");
  EXPECT_EQ(test::ReadFile(suite), "[PlaceInfo]\nPartnerID=AB12\n");
  EXPECT_EQ(ReadIniValue(site_.files, site_.home / "Options.ini", "Mail Options", "PartnerID"), before);
}

TEST_F(OptionsForm, AFailedSaveNamesThePlacesInTheirOrderAndStaysOpen) {
  Shown();
  std::string places;
  fs::remove(site_.home / "LatestList.dat");
  fs::remove(site_.home / "Options.ini");
  for (const char* name : {"home/Options.ini", "home/faultlog.ini"}) {
    places += Utf8FromPath(site_.folder.Folder(name)) + "\n";
  }
  site_.folder.Folder("registry.sqlite");
  places += "HKLM\\" + std::string(FaultlogRecipientKey) + "\nHKLM\\" + std::string(PpcRecipientKey) + "\n";
  places += Utf8FromPath(site_.folder.Folder("home/LatestList.dat")) + "\n";
  test::MessageBoxes boxes;
  Press("cmdOK");
  EXPECT_THAT(boxes.seen,
              ElementsAre(test::SeenBox{"Not everything was saved. This could not be written:\n" + places +
                                            "Check the disk and your permissions there, then press OK again.",
                                        QMessageBox::Critical, "Fieldpost"}));
  EXPECT_TRUE(form_->isVisible());
  for (const char* name :
       {"home/Options.ini", "home/faultlog.ini", "registry.sqlite", "home/LatestList.dat"}) {
    fs::remove(site_.folder.Path() / name);
  }
  Press("cmdOK");
  EXPECT_FALSE(form_->isVisible());
  EXPECT_EQ(boxes.seen.size(), 1U);
}

TEST_F(OptionsForm, ClosingSavesNothing) {
  const MailSettings before = settings_;
  const std::set<std::string> names = test::Names(site_.home);
  for (const std::function<void()>& close : std::vector<std::function<void()>>{
           [&] { Press("cmdClose"); }, [&] { QTest::keyClick(form_.get(), Qt::Key_Escape); },
           [&] { QTest::keyClick(form_.get(), Qt::Key_C, Qt::AltModifier); }, [&] { form_->close(); }}) {
    Shown();
    SetText("txtSMTPserver", "typed");
    SetText("txtMailPassword", "typed");
    SetText("txtPartnerID", "typed");
    List().clear();
    close();
    QTRY_VERIFY(!form_->isVisible());
    EXPECT_EQ(form_->result(), QDialog::Rejected);
  }
  form_.reset();
  EXPECT_EQ(settings_, before);
  EXPECT_EQ(program_.lists.LatestFolderList.size(), 1U);
  std::set<std::string> after = test::Names(site_.home);
  after.erase("Windows.ini");
  EXPECT_EQ(after, names);
}

TEST_F(OptionsForm, EnterIsOKFromEveryBox) {
  for (const char* name : {"txtOutputFolder", "txtFaultMailAddress", "txtSMTPport", "txtSMTPserver",
                           "txtMailPassword", "txtPartnerID", "LVPath", "CmbNumAttachments", "chkFault"}) {
    Shown();
    auto& part = Part<QWidget>(*form_, name);
    for (int page = 0; !part.isVisible(); ++page) Turn(static_cast<OptionsPage>(page));
    part.setFocus();
    if (std::string_view(name) == "txtSMTPport") SetText(name, "");
    QTest::keyClick(&part, Qt::Key_Return);
    EXPECT_FALSE(form_->isVisible()) << name;
    EXPECT_EQ(form_->result(), QDialog::Accepted) << name;
  }
}

TEST_F(OptionsForm, NumbersTakeDigitsUpToTheirHighest) {
  struct Row {
    const char* box;
    QString typed, shown;
  };
  Shown();
  Turn(OptionsPage::Settings);
  for (const Row& row : {Row{"txtSMTPport", "70000", "7000"}, Row{"txtSMTPport", "65535", "65535"},
                         Row{"txtSMTPport", "-2x5", "25"}, Row{"txtTryCont", "1000", "100"},
                         Row{"txtTimeout", "3601", "360"}}) {
    Box(row.box).clear();
    QTest::keyClicks(&Box(row.box), row.typed);
    EXPECT_EQ(Box(row.box).text(), row.shown);
  }
}

TEST_F(OptionsForm, UseDefaultSettingsShowsTheDefaults) {
  settings_.SMTPPort = "2525";
  settings_.TryCount = "3";
  settings_.Timeout = "20";
  Shown();
  Turn(OptionsPage::Settings);
  const auto numbers = [&] {
    return Text("txtSMTPport") + " " + Text("txtTryCont") + " " + Text("txtTimeout");
  };
  auto& check = Part<QCheckBox>(*form_, "ChkMailSetup");
  check.setFocus();
  QTest::keyClick(&check, Qt::Key_Space);
  EXPECT_EQ(numbers(), "25 2 10");
  for (const char* name : {"txtSMTPport", "txtTryCont", "txtTimeout"}) EXPECT_FALSE(Box(name).isEnabled());
  QTest::keyClick(&check, Qt::Key_Space);
  EXPECT_EQ(numbers(), "2525 3 20") << "what was there comes back";
  for (const char* name : {"txtSMTPport", "txtTryCont", "txtTimeout"}) EXPECT_TRUE(Box(name).isEnabled());
  QTest::keyClick(&check, Qt::Key_Space);
  Press("cmdOK");
  EXPECT_EQ(settings_.UseDefaultMailSetup, "True");
  EXPECT_EQ(settings_.SMTPPort, "25");
  Shown();
  EXPECT_TRUE(Part<QCheckBox>(*form_, "ChkMailSetup").isChecked());
  EXPECT_FALSE(Box("txtSMTPport").isEnabled());
}

TEST_F(OptionsForm, EncryptionSettings) {
  const fs::path file = site_.folder.Write("ca.pem", "");
  for (const auto& [stored, index, saved] :
       std::vector<std::tuple<std::string, int, std::string>>{{"", 0, "auto"},
                                                              {"auto", 0, "auto"},
                                                              {"Required ", 1, "required"},
                                                              {"NONE", 2, "none"},
                                                              {"x", 0, "auto"}}) {
    settings_.TlsMode = stored;
    Shown();
    EXPECT_EQ(Part<QComboBox>(*form_, "CmbTlsMode").currentIndex(), index) << stored;
    Turn(OptionsPage::MailServer);
    EXPECT_THAT(Choose("cmdTlsCaFile", Utf8FromPath(file)), IsEmpty());
    Press("cmdOK");
    EXPECT_EQ(settings_.TlsMode, saved);
    EXPECT_EQ(settings_.TlsCaFile, Utf8FromPath(file));
  }
}

TEST_F(OptionsForm, TestingTheServer) {
  struct Row {
    std::vector<std::uint32_t> addresses;
    std::uint32_t status;
    test::SeenBox box;
  };
  const std::string failed =
      "mail.example: SMTP mail server not response\nError({})\n"
      "Check the spelling of the SMTP server  and check internet connection";
  for (const Row& row : {
           Row{{1}, 0, {"Connection Ok", QMessageBox::Information, "Fieldpost"}},
           Row{{}, 0, {fmt::format(fmt::runtime(failed), 11001), QMessageBox::Critical, "Fieldpost"}},
           Row{{1}, 11010, {fmt::format(fmt::runtime(failed), 11010), QMessageBox::Critical, "Fieldpost"}},
           Row{{1}, 11013, {fmt::format(fmt::runtime(failed), 11013), QMessageBox::Critical, "Fieldpost"}},
       }) {
    hosts_.addresses = row.addresses;
    echo_.status = row.status;
    Shown();
    Turn(OptionsPage::MailServer);
    test::MessageBoxes boxes;
    Press("cmdPing");
    EXPECT_THAT(boxes.seen, ElementsAre(row.box));
    EXPECT_TRUE(form_->isEnabled());
    EXPECT_EQ(Focus(), "cmdPing");
  }
  EXPECT_THAT(hosts_.asked, testing::Each("mail.example"));
}

TEST_F(OptionsForm, TestingTheServerTypedNow) {
  Shown();
  Turn(OptionsPage::MailServer);
  SetText("txtSMTPserver", " typed.example ");
  test::MessageBoxes boxes;
  Press("cmdPing");
  EXPECT_THAT(hosts_.asked, ElementsAre("typed.example"));
  EXPECT_EQ(settings_.SMTPServer, "mail.example");
}

TEST_F(OptionsForm, WhileTheServerIsTestedNothingElseCanBeDone) {
  Shown();
  Turn(OptionsPage::MailServer);
  bool asked = false;
  echo_.meanwhile = [&] {
    asked = true;
    EXPECT_FALSE(Part<QPushButton>(*form_, "cmdPing").isEnabled());
    EXPECT_FALSE(Part<QPushButton>(*form_, "cmdOK").isEnabled());
    EXPECT_NE(QGuiApplication::overrideCursor(), nullptr);
    QTest::keyClick(form_->windowHandle(), Qt::Key_Escape);
    form_->close();
    EXPECT_TRUE(form_->isVisible());
  };
  test::MessageBoxes boxes;
  Press("cmdPing");
  EXPECT_TRUE(asked);
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
  EXPECT_TRUE(Part<QPushButton>(*form_, "cmdPing").isEnabled());
  EXPECT_TRUE(form_->isVisible());
}

TEST_F(OptionsForm, ARealEchoToThisMachine) {
  SystemHostLookup hosts;
  SystemIcmpEcho echo;
  modMailServerPing ping(hosts, echo, site_.display);
  std::string ignored;
  const bool answers = ping.PingMailServer("127.0.0.1", ignored);
  form_ = std::make_unique<frmOptions>(store_, site_.files, program_.paths, site_.prompt, ping, drives_,
                                       site_.memory);
  form_->show();
  Turn(OptionsPage::MailServer);
  SetText("txtSMTPserver", "127.0.0.1");
  test::MessageBoxes boxes;
  Press("cmdPing");
  // Where the system lets nobody send echoes, that is what the dialog has to tell.
  const test::SeenBox refused{
      "127.0.0.1: SMTP mail server not response\nError(11050)\n"
      "Check the spelling of the SMTP server  and check internet connection",
      QMessageBox::Critical, "Fieldpost"};
  EXPECT_THAT(
      boxes.seen,
      ElementsAre(answers ? test::SeenBox{"Connection Ok", QMessageBox::Information, "Fieldpost"} : refused));
}

TEST_F(OptionsForm, NetworkDrives) {
  for (const auto& [button, expected] :
       std::vector<std::pair<const char*, std::string>>{{"cmdLMapNetDriver", "connect"},
                                                        {"cmdAMapNetDriver", "connect"},
                                                        {"cmdPMapNetDriver", "connect"},
                                                        {"cmdADisconnect", "disconnect"},
                                                        {"cmdPDisconnect", "disconnect"}}) {
    Shown();
    drives_.asked.clear();
    drives_.failure = "";
    test::MessageBoxes boxes;
    Press(button);
    EXPECT_THAT(drives_.asked, ElementsAre(expected)) << button;
    EXPECT_THAT(boxes.seen, IsEmpty());
    drives_.failure = "No <file> manager.";
    Press(button);
    EXPECT_THAT(boxes.seen,
                ElementsAre(test::SeenBox{"No <file> manager.", QMessageBox::Warning, "Fieldpost"}));
  }
}

TEST_F(OptionsForm, TheMailCheckOpensThePagesThatNeedFillingIn) {
  settings_.SenderAddress = "";
  settings_.PartnerID = "";
  settings_.SMTPPort = "";
  test::MessageBoxes boxes;
  std::vector<std::pair<int, std::string>> opened;
  boxes.onDialog = [&](QDialog& dialog) {
    opened.emplace_back(Part<QTabWidget>(dialog, "SSTab1").currentIndex(),
                        FromQt(dialog.focusWidget()->objectName()));
    dialog.close();
  };
  site_.prompt.SetOptionsDialog([&](OptionsPage page) {
    frmOptions shown(store_, site_.files, program_.paths, site_.prompt, ping_, drives_, site_.memory);
    shown.ShowPage(page);
  });
  EXPECT_TRUE(program_.check.CheckMailOptions());
  EXPECT_THAT(opened, ElementsAre(std::pair(3, std::string("txtSMTPserver")),
                                  std::pair(4, std::string("txtPartnerID"))));
  EXPECT_THAT(
      boxes.seen,
      ElementsAre(test::SeenBox{"You have to setup mail options (SMTP Server or Sender address box is empty)",
                                QMessageBox::Warning, "Fieldpost"},
                  test::SeenBox{"You have to setup mail options (PartnerID box is empty)",
                                QMessageBox::Warning, "Fieldpost"}));
  EXPECT_EQ(settings_.SMTPPort, "25");
}

TEST_F(OptionsForm, OneThatIsOpenOnlyTurnsToThePage) {
  Shown();
  SetText("txtSMTPserver", "typed");
  form_->ShowPage(OptionsPage::Partner);
  EXPECT_EQ(Page(), OptionsPage::Partner);
  EXPECT_EQ(Text("txtSMTPserver"), "typed");
  EXPECT_TRUE(form_->isVisible());
}

TEST_F(OptionsForm, KeepsItsSize) {
  Shown().resize(700, 600);
  Press("cmdClose");
  EXPECT_EQ(Shown().size(), QSize(700, 600));
}

/// Every control that the keyboard can reach on the page that is shown.
std::set<std::string> Reachable(const QWidget& form) {
  std::set<std::string> names;
  for (const QWidget* part : form.findChildren<QWidget*>()) {
    const bool takesTab = (part->focusPolicy() & Qt::TabFocus) != 0 && part->focusProxy() == nullptr;
    if (takesTab && part->isVisible() && part->isEnabled()) names.insert(FromQt(part->objectName()));
  }
  return names;
}

TEST_F(OptionsForm, TabWalksOverEveryControlOfAPageInOrder) {
  const std::vector<std::vector<std::string>> pages{
      {"LVPath", "cmdDeletePath", "cmdLMapNetDriver", "txtInputFolder", "cmdBrowserAdd", "cmdAddPath",
       "txtOutputFolder", "cmdArchiveFolder", "cmdAMapNetDriver", "cmdADisconnect", "txtProcessFolder",
       "cmdProcessPath", "cmdPMapNetDriver", "cmdPDisconnect"},
      {"chkFault", "txtFaultMailAddress", "chkPPC", "txtPPCMailAddress", "chkUseZip", "CmbNumAttachments"},
      {"ChkMailSetup", "txtSMTPport", "txtTryCont", "txtTimeout"},
      {"txtSMTPserver", "txtSenderAddres", "txtMailUserName", "txtMailPassword", "txtMailHostName",
       "CmbTlsMode", "txtTlsCaFile", "cmdTlsCaFile", "cmdPing"},
      {"txtPartnerID", "txtOrganization"}};
  Shown();
  for (std::size_t page = 0; page < pages.size(); ++page) {
    Turn(static_cast<OptionsPage>(page));
    if (page == 0) List().setCurrentItem(List().topLevelItem(0));
    auto& tabs = *Part<QTabWidget>(*form_, "SSTab1").tabBar();
    tabs.setFocus();
    std::vector<std::string> expected = pages[page];
    expected.insert(expected.end(), {"cmdOK", "cmdClose"});
    std::vector<std::string> walked;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      QTest::keyClick(form_->focusWidget(), Qt::Key_Tab);
      walked.push_back(Focus());
    }
    EXPECT_EQ(walked, expected);
    QTest::keyClick(form_->focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(form_->focusWidget(), &tabs) << "and round again";
    std::set<std::string> all(expected.begin(), expected.end());
    all.insert(FromQt(tabs.objectName()));
    EXPECT_EQ(Reachable(*form_), all);
  }
}

TEST_F(OptionsForm, KeysTurnThePages) {
  Shown();
  for (int page = 1; page <= 5; ++page) {
    QTest::keyClick(form_->focusWidget(), Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(static_cast<int>(Page()), page % 5);
  }
}

TEST_F(OptionsForm, EveryControlHasAnAccessibleName) {
  Shown();
  const auto nameOf = [](QWidget* part) {
    return FromQt(QAccessible::queryAccessibleInterface(part)->text(QAccessible::Name));
  };
  for (QWidget* part : form_->findChildren<QWidget*>()) {
    if (part->focusPolicy() == Qt::NoFocus) continue;
    EXPECT_NE(nameOf(part), "") << FromQt(part->objectName());
  }
  for (const auto& [name, expected] : std::vector<std::pair<const char*, std::string>>{
           {"LVPath", "Latest folders"},
           {"txtInputFolder", "Latest folder to add"},
           {"txtOutputFolder", "Archive folder"},
           {"txtProcessFolder", "Process folder"},
           {"txtFaultMailAddress", "Faultlogger recipient"},
           {"txtPPCMailAddress", "PPC recipient"},
           {"txtSMTPserver", "SMTP server"},
           {"txtSenderAddres", "Sender E-mail addres : (Required)"},
           {"txtMailPassword", "Password :"},
           {"txtSMTPport", "SMTP port :"},
           {"txtPartnerID", "Partner ID: (Required)"},
           {"txtOrganization", "Company name :"},
           {"chkFault", "Send faultlogger data:"},
           {"cmdAddPath", "Add"},
           {"cmdOK", "OK"}}) {
    EXPECT_EQ(nameOf(&Part<QWidget>(*form_, name)), expected) << name;
  }
}

}  // namespace
}  // namespace fieldpost
