#include "support/OptionsForm.h"

#include <QAccessible>
#include <set>

namespace fieldpost {
namespace {

using test::frmOptionsTest;
using test::Part;
using testing::ElementsAre;

TEST_F(frmOptionsTest, OpensOnEachPageThatTheMailCheckRequests) {
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
  site_.prompt.SetOptionsDialog([&](OptionsPage page) { frmOptions(Context()).ShowPage(page); });
  EXPECT_TRUE(program_.check.CheckMailOptions().requiredMissing);
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

TEST_F(frmOptionsTest, OnlyTurnsThePageWhenOpen) {
  Shown();
  SetText("txtSMTPserver", "typed");
  form_->ShowPage(OptionsPage::Partner);
  EXPECT_EQ(Page(), OptionsPage::Partner);
  EXPECT_EQ(Text("txtSMTPserver"), "typed");
  EXPECT_TRUE(form_->isVisible());
}

TEST_F(frmOptionsTest, KeepsItsSize) {
  Shown().resize(700, 600);
  Press("cmdClose");
  EXPECT_EQ(Shown().size(), QSize(700, 600));
}

TEST_F(frmOptionsTest, EnterSavesFromEveryBox) {
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

/// Returns the names of the controls on the shown page that the Tab key reaches.
std::set<std::string> Reachable(const QWidget& form) {
  std::set<std::string> names;
  for (const QWidget* part : form.findChildren<QWidget*>()) {
    const bool takesTab = (part->focusPolicy() & Qt::TabFocus) != 0 && part->focusProxy() == nullptr;
    if (takesTab && part->isVisible() && part->isEnabled()) names.insert(FromQt(part->objectName()));
  }
  return names;
}

TEST_F(frmOptionsTest, TabReachesEveryControlInOrder) {
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

TEST_F(frmOptionsTest, TurnsThePagesByKeys) {
  Shown();
  for (int page = 1; page <= 5; ++page) {
    QTest::keyClick(form_->focusWidget(), Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(static_cast<int>(Page()), page % 5);
  }
}

TEST_F(frmOptionsTest, HasAnAccessibleNameForEveryControl) {
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
