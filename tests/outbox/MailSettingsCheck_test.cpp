#include "outbox/MailSettingsCheck.h"

#include <gmock/gmock.h>

#include "environment/Recipients.h"
#include "environment/RegistryKeys.h"
#include "support/OutboxParts.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* ServerOrSender =
    "You have to setup mail options (SMTP Server or Sender address box is empty)";
constexpr const char* PartnerBox = "You have to setup mail options (PartnerID box is empty)";

struct Row {
  const char* name;
  const char* server;
  const char* sender;
  const char* partner;
  bool serverOrSenderMissing;
  bool partnerMissing;
  const char* firstMissing;
};

const std::vector<Row> Rows{
    {"all there", "s", "a@b", "P1", false, false, ""},
    {"no server", "", "a@b", "P1", true, false, "SMTP Server name missing in FP mail options"},
    {"no sender", "s", "", "P1", true, false, "Senders address missing in FP mail options"},
    {"no partner", "s", "a@b", "", false, true, "Partner ID missing in FP mail options"},
    {"partner without a letter or digit", "s", "a@b", "-./", false, true,
     "Partner ID missing in FP mail options"},
    {"no sender, no partner", "s", "", "", true, true, "Partner ID missing in FP mail options"},
    {"no server, no sender", "", "", "P1", true, false, "Senders address missing in FP mail options"},
    {"nothing", "", "", "", true, true, "Partner ID missing in FP mail options"},
};

void Set(test::OutboxSite& site, const Row& row) {
  site.program.settings.SMTPServer = row.server;
  site.program.settings.SenderAddress = row.sender;
  site.program.settings.PartnerID = row.partner;
}

TEST(CheckMailOptions, ShowsEachMissingSettingAndOpensItsPage) {
  for (const Row& row : Rows) {
    test::ReadyOutboxSite site;
    Set(site, row);
    EXPECT_EQ(site.program.check.CheckMailOptions().requiredMissing,
              row.serverOrSenderMissing || row.partnerMissing)
        << row.name;
    std::vector<test::ShownMessage> messages;
    std::vector<OptionsPage> pages;
    if (row.serverOrSenderMissing) {
      messages.push_back({ServerOrSender, MessageIcon::Exclamation, ""});
      pages.push_back(OptionsPage::MailServer);
    }
    if (row.partnerMissing) {
      messages.push_back({PartnerBox, MessageIcon::Exclamation, ""});
      pages.push_back(OptionsPage::Partner);
    }
    EXPECT_EQ(site.prompt.messages, messages) << row.name;
    EXPECT_EQ(site.prompt.pages, pages) << row.name;
    EXPECT_THAT(site.prompt.pointer, ElementsAre(true, false)) << row.name;
    EXPECT_THAT(site.Log(), IsEmpty()) << row.name;
  }
}

TEST(CheckMailOptionsQuiet, ReportsInTheLogOnly) {
  for (const Row& row : Rows) {
    test::ReadyOutboxSite site;
    Set(site, row);
    EXPECT_EQ(site.program.check.CheckMailOptionsQuiet().requiredMissing,
              row.serverOrSenderMissing || row.partnerMissing)
        << row.name;
    std::vector<std::string> log;
    if (row.serverOrSenderMissing) log.push_back(std::string("[Error]:") + ServerOrSender);
    if (row.partnerMissing) log.emplace_back("[Error]:You have to setup mail options (PartnerID is empty)");
    EXPECT_EQ(site.Log(), log) << row.name;
    EXPECT_THAT(site.prompt.messages, IsEmpty()) << row.name;
    EXPECT_THAT(site.prompt.pages, IsEmpty()) << row.name;
  }
}

TEST(CheckSendSettings, ReportsTheFirstMissingSettingOnly) {
  for (const Row& row : Rows) {
    for (const bool show : {false, true}) {
      test::ReadyOutboxSite site;
      Set(site, row);
      site.program.flags.ShowMessages = show;
      const std::string text = row.firstMissing;
      EXPECT_EQ(site.program.check.CheckSendSettings(), text.empty()) << row.name;
      std::vector<std::string> log;
      std::vector<test::ShownMessage> messages;
      if (!text.empty()) log.push_back("[Error]:" + text);
      if (!text.empty() && show) messages.push_back({text, MessageIcon::None, ""});
      EXPECT_EQ(site.Log(), log) << row.name;
      EXPECT_EQ(site.prompt.messages, messages) << row.name;
      EXPECT_EQ(site.display.eventTurns, text.empty() ? 0U : 1U) << row.name;
    }
  }
}

TEST(MailSettingsCheck, FillsInDefaultNumbersWhateverElseIsMissing) {
  struct Defaults {
    const char* name;
    const char* given;
    const char* port;
    const char* tries;
    const char* timeout;
  };
  for (const bool quiet : {false, true}) {
    for (const Row& row : Rows) {
      for (const Defaults& numbers :
           {Defaults{"empty", "", "25", "2", "10"}, Defaults{"set", "7", "7", "7", "7"}}) {
        test::ReadyOutboxSite site;
        Set(site, row);
        MailSettings& settings = site.program.settings;
        settings.SMTPPort = settings.TryCount = settings.Timeout = numbers.given;
        const MailOptionsResult result =
            quiet ? site.program.check.CheckMailOptionsQuiet() : site.program.check.CheckMailOptions();
        EXPECT_TRUE(result.defaultsSaved) << row.name;
        EXPECT_EQ(settings.SMTPPort, numbers.port) << row.name << ", " << numbers.name;
        EXPECT_EQ(settings.TryCount, numbers.tries) << row.name << ", " << numbers.name;
        EXPECT_EQ(settings.Timeout, numbers.timeout) << row.name << ", " << numbers.name;
        if (*numbers.given == '\0') {
          EXPECT_EQ(site.program.settingsStore.Load().SMTPPort, "25") << row.name;
        }
      }
    }
  }
}

TEST(MailSettingsCheck, LogsThatDefaultsCouldNotBeSaved) {
  test::ReadyOutboxSite site;
  site.program.settings.SMTPPort.clear();
  site.folder.Folder("home/.Options.ini.fieldpost-new");  // where the file would be written first
  const MailOptionsResult result = site.program.check.CheckMailOptionsQuiet();
  EXPECT_FALSE(result.requiredMissing);
  EXPECT_FALSE(result.defaultsSaved);
  EXPECT_EQ(site.program.settings.SMTPPort, "25");
  EXPECT_THAT(site.Log(), ElementsAre(testing::AllOf(
                              testing::StartsWith("[Error]:The mail settings were not saved: cannot "),
                              testing::HasSubstr("Options.ini"))));
}

TEST(CheckMailOptions, SavesTheDefaultOfEachSettingThatIsMissing) {
  struct Numbers {
    const char* port;
    const char* tries;
    const char* timeout;
    bool saved;
  };
  for (const Numbers& row : {Numbers{"1", "1", "1", false}, Numbers{"", "1", "1", true},
                             Numbers{"1", "", "1", true}, Numbers{"1", "1", "", true}}) {
    test::ReadyOutboxSite site;
    site.program.settings.SMTPPort = row.port;
    site.program.settings.TryCount = row.tries;
    site.program.settings.Timeout = row.timeout;
    std::filesystem::remove(site.home / "Options.ini");
    EXPECT_FALSE(site.program.check.CheckMailOptionsQuiet().requiredMissing);
    EXPECT_EQ(std::filesystem::exists(site.home / "Options.ini"), row.saved)
        << row.port << row.tries << row.timeout;
  }
}

TEST(GetRecipientAddress, ReturnsTheRegisteredOrTheDefaultAddress) {
  struct Recipient {
    const char* name;
    bool ppc;
    const char* faultlog;
    const char* ppcValue;
    std::string expected;
  };
  for (const Recipient& row : {
           Recipient{"faultlog set", false, "f@x.example", "p@x.example", "f@x.example"},
           Recipient{"PPC set", true, "f@x.example", "p@x.example", "p@x.example"},
           Recipient{"faultlog empty", false, "", "p@x.example", std::string(DefaultFaultlogRecipient())},
           Recipient{"PPC empty", true, "f@x.example", "", std::string(DefaultPpcRecipient())},
           Recipient{"faultlog missing", false, nullptr, nullptr, "faultlog@fieldpost.example"},
           Recipient{"PPC missing", true, nullptr, nullptr, "ppc@fieldpost.example"},
       }) {
    test::OutboxSite site;
    if (row.faultlog != nullptr) site.SetRegistry(FaultlogRecipientKey, "", row.faultlog);
    if (row.ppcValue != nullptr) site.SetRegistry(PpcRecipientKey, "", row.ppcValue);
    const DataKind kind = row.ppc ? DataKind::Ppc : DataKind::Faultlog;
    EXPECT_EQ(site.program.check.GetRecipientAddress(kind), row.expected) << row.name;
  }
}

}  // namespace
}  // namespace fieldpost
