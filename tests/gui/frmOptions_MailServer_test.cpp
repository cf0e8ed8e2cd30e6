#include "support/OptionsForm.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGuiApplication>

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::frmOptionsTest;
using test::Part;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(frmOptionsTest, RestrictsNumbersToTheirRange) {
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

TEST_F(frmOptionsTest, UseDefaultSettingsShowsTheDefaults) {
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

TEST_F(frmOptionsTest, LoadsAndSavesEncryptionSettings) {
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

TEST_F(frmOptionsTest, ReportsTheResultOfTheServerTest) {
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

TEST_F(frmOptionsTest, TestsTheServerThatIsTyped) {
  Shown();
  Turn(OptionsPage::MailServer);
  SetText("txtSMTPserver", " typed.example ");
  test::MessageBoxes boxes;
  Press("cmdPing");
  EXPECT_THAT(hosts_.asked, ElementsAre("typed.example"));
  EXPECT_EQ(settings_.SMTPServer, "mail.example");
}

TEST_F(frmOptionsTest, IsDisabledWhileTheServerIsTested) {
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

TEST_F(frmOptionsTest, SendsARealEchoToThisMachine) {
  SystemHostLookup hosts;
  SystemIcmpEcho echo;
  modMailServerPing ping(hosts, echo, site_.display);
  const bool answers = ping.PingMailServer("127.0.0.1").isReached;
  form_ = std::make_unique<frmOptions>(
      OptionsContext{store_, site_.files, program_.paths, site_.prompt, ping, drives_, site_.memory});
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

}  // namespace
}  // namespace fieldpost
