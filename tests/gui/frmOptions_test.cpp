#include "support/OptionsForm.h"

#include <QCheckBox>
#include <QComboBox>
#include <set>

#include "environment/Recipients.h"
#include "environment/RegistryKeys.h"
#include "platform/IniFile.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::frmOptionsTest;
using test::Part;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(frmOptionsTest, LoadsEveryControl) {
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

TEST_F(frmOptionsTest, ShowsDefaultsForMissingSettings) {
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

TEST_F(frmOptionsTest, StoresTheNumberOfAttachmentsAsAnIndex) {
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

TEST_F(frmOptionsTest, CopiesTheSuitesPartnerIDWhenLoaded) {
  const fs::path suite = site_.folder.Write("home/faultlog.ini", "[PlaceInfo]\nPartnerID=\"AB12  \"\n");
  settings_.PartnerID = "OLD";
  const frmOptions form(Context());
  EXPECT_FALSE(form.isVisible());
  EXPECT_EQ(Part<QLineEdit>(form, "txtPartnerID").text(), "AB12");
  EXPECT_EQ(settings_.PartnerID, "AB12");
  EXPECT_EQ(ReadIniValue(site_.files, site_.home / "Options.ini", "Mail Options", "PartnerID"), "AB12");
  EXPECT_EQ(test::ReadFile(suite), "[PlaceInfo]\nPartnerID=AB12\n");
}

TEST_F(frmOptionsTest, LoadsAgainEachTimeItIsShown) {
  frmOptions form(Context());
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

TEST_F(frmOptionsTest, SavingUnchangedKeepsEverySetting) {
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

TEST_F(frmOptionsTest, SavesWhatWasTyped) {
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

TEST_F(frmOptionsTest, KeepsTheStoredPartnerIDWhenEmpty) {
  const fs::path suite = site_.folder.Write("home/faultlog.ini", "[PlaceInfo]\nPartnerID=AB12\n");
  Shown();
  const std::string before =
      ReadIniValue(site_.files, site_.home / "Options.ini", "Mail Options", "PartnerID");
  SetText("txtPartnerID", "");
  Press("cmdOK");
  EXPECT_EQ(test::ReadFile(suite), "[PlaceInfo]\nPartnerID=AB12\n");
  EXPECT_EQ(ReadIniValue(site_.files, site_.home / "Options.ini", "Mail Options", "PartnerID"), before);
}

TEST_F(frmOptionsTest, NamesUnsavedPlacesInOrderAndStaysOpen) {
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

TEST_F(frmOptionsTest, SavesNothingWhenClosed) {
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

TEST_F(frmOptionsTest, AcceptsLettersAndDigitsInThePartnerID) {
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

TEST_F(frmOptionsTest, ChecksOnlyTheLastCharacterOfThePartnerID) {
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

TEST_F(frmOptionsTest, MasksAndKeepsThePassword) {
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

}  // namespace
}  // namespace fieldpost
