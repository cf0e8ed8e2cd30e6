#include "shell/InteractiveSend.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdint>
#include <limits>
#include <optional>

#include "outbox/SendJournal.h"
#include "support/CommandOutput.h"
#include "support/NewsSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::ShownMessage;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const ShownMessage MailSent{"Mail(s) has been Sent!", MessageIcon::Information, ""};
constexpr const char* Document = "FLog.4711.200403151401.xml";
constexpr const char* WaitingText = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"/>\r\n";
constexpr const char* SentText = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Sent\"/>\r\n";

/// A site with new data of both kinds, of which both are sent.
struct SendSite : test::NewsSite {
  SendSite() {
    program.settings.SendFault = "True";
    program.settings.SendPPC = "True";
  }

  bool Run() { return InteractiveSend(program).Run(); }

  fs::path Process(std::string_view name, std::string_view text) const {
    return folder.Write("home/Faultlog/Process/" + std::string(name), text);
  }

  [[nodiscard]] std::string LastCollection() {
    return program.registry.QueryText(HKEY_LOCAL_MACHINE, TimeKey, LastCollectionValue);
  }
};

TEST(InteractiveSend, SendsTheChosenKindsOfData) {
  const std::string faultlog = std::string("faultlog: ") + Document;
  const std::string ppc = "ppc: PPC.4711.200403151401.xml";
  struct Row {
    const char* faultlogs;
    const char* ppcData;
    std::vector<std::string> mails;
  };
  for (const Row& row : {
           Row{"True", "True", {faultlog, ppc}},
           Row{"tRUE", "False", {faultlog}},
           Row{"", "true", {ppc}},
           Row{"TRUE ", "TRUE", {ppc}},
       }) {
    SendSite site;
    site.program.settings.SendFault = row.faultlogs;
    site.program.settings.SendPPC = row.ppcData;
    EXPECT_TRUE(site.Run());
    EXPECT_EQ(site.Mails(), row.mails);
    EXPECT_EQ(site.prompt.messages, std::vector<ShownMessage>(row.mails.size(), MailSent));
    EXPECT_FALSE(site.program.flags.ShowMessages) << "nobody is at the screen afterwards";
    EXPECT_FALSE(site.program.flags.SendingPPC);
    EXPECT_THAT(site.Log(), Each(AllOf(Not(HasSubstr("[Error]")), Not(HasSubstr("Ended")))));
    EXPECT_THAT(site.program.lists.PendingFiles, IsEmpty());
  }
}

TEST(InteractiveSend, AsksForAKindOfDataWhenNoneIsChosen) {
  for (const char* none : {"", "False", "yes", "1"}) {
    SendSite site;
    site.program.settings.SendFault = site.program.settings.SendPPC = none;
    EXPECT_FALSE(site.Run());
    EXPECT_THAT(site.prompt.messages,
                ElementsAre(ShownMessage{"Select the data to be send", MessageIcon::Information, ""}));
    EXPECT_THAT(site.prompt.pages, ElementsAre(OptionsPage::Sending));
    EXPECT_THAT(site.Mails(), IsEmpty());
    EXPECT_TRUE(fs::exists(site.Tree("Latest") / "unit.xml"));
    EXPECT_EQ(site.LastCollection(), "");
    EXPECT_THAT(site.Log(), IsEmpty());
  }
}

TEST(InteractiveSend, AsksForALatestFolderWhenThereIsNone) {
  SendSite site;
  EXPECT_EQ(site.program.latestStore.SaveLatestFolders({}), "");
  EXPECT_FALSE(site.Run());
  EXPECT_THAT(site.prompt.pages, ElementsAre(OptionsPage::Folders));
  EXPECT_THAT(site.prompt.messages,
              ElementsAre(ShownMessage{"Add latest path             ", MessageIcon::Information, ""}));
  EXPECT_THAT(site.Mails(), IsEmpty()) << "nothing is sent";
  EXPECT_TRUE(fs::exists(site.Tree("Latest") / "unit.xml"));
  PathList stored;
  site.program.latestStore.LoadLatestFolders(stored);
  EXPECT_THAT(stored, IsEmpty()) << "the list is left as the user emptied it";
  EXPECT_FALSE(site.program.flags.ShowMessages);
}

TEST(InteractiveSend, SendsPpcDataWithoutALatestFolder) {
  SendSite site;
  EXPECT_EQ(site.program.latestStore.SaveLatestFolders({}), "");
  site.program.settings.SendFault = "False";
  EXPECT_TRUE(site.Run());
  EXPECT_THAT(site.Mails(), ElementsAre("ppc: PPC.4711.200403151401.xml"));
}

TEST(InteractiveSend, MailsANewDocumentOnceWithThoseThatWaited) {
  SendSite site;
  site.program.settings.SendPPC = "False";
  site.program.settings.NumAttachments = "9";
  site.Process("FLog.4711.200403151301.xml", WaitingText);
  site.Process("FLog.4711.200403151302.xml", SentText);
  EXPECT_TRUE(site.Run());
  EXPECT_THAT(site.Mails(), ElementsAre("faultlog: FLog.4711.200403151301.xml FLog.4711.200403151401.xml"));
  EXPECT_EQ(test::ReadFile(site.Tree("Process") / "FLog.4711.200403151301.xml"), SentText);
  EXPECT_THAT(site.Log(), ElementsAre("[Search Latest]:Found 1 OK files", "[Mail]:Mail Sent"));
}

TEST(InteractiveSend, MarksDocumentsThatAnInterruptedRunHadMailed) {
  SendSite site;
  const fs::path mailed = site.Process("mailed.xml", WaitingText);
  const fs::path blocked = site.Process("blocked.xml", WaitingText);
  fs::create_directories(TemporaryNameFor(blocked) / "in the way");
  SendJournal(site.files)
      .Write(site.Tree("Process"), {{mailed, HashContent(WaitingText)}, {blocked, HashContent(WaitingText)}});
  EXPECT_FALSE(site.Run()) << "one is still to be marked";
  EXPECT_EQ(test::ReadFile(mailed), SentText);
  EXPECT_THAT(site.Mails(),
              ElementsAre(std::string("faultlog: ") + Document, "ppc: PPC.4711.200403151401.xml"))
      << "neither is sent again";
  EXPECT_THAT(site.prompt.messages, Contains(testing::Field(&ShownMessage::title, "Error")));
}

TEST(InteractiveSend, ShowsItsSteps) {
  SendSite site;
  EXPECT_TRUE(site.Run());
  EXPECT_THAT(site.display.captions,
              ElementsAre("Process faultlogger data...", "Collecting unsent files...", "Sending mail 1/1...",
                          "All mails sent", "Marking what was sent...", "Process PPC Data...",
                          "Sending mail 1/1...", "All mails sent"));
  EXPECT_THAT(site.display.labels,
              ElementsAre("unit.xml 0%", "100%", std::string(Document) + " 100%", "0%", "100%", "0%",
                          "Dissect and analyse PPC file...", "PPC Count: 1/1 100%", "0%", "100%"));
  EXPECT_THAT(site.display.lines, ElementsAre("Process latest files...", "Found 1 OK files"));
  EXPECT_THAT(site.display.ranges, ElementsAre(1, 1, 1, 1, 1, 1));
}

TEST(InteractiveSend, ShowsThePpcWindowDuringTheCollectionOnly) {
  SendSite site;
  std::vector<std::size_t> mailsThen;
  const auto note = [&] { mailsThen.push_back(site.transport.mails.size()); };
  EXPECT_TRUE(InteractiveSend(site.program, {.open = note, .close = note}).Run());
  EXPECT_THAT(mailsThen, ElementsAre(1, 1)) << "opened after the faultlog mail, closed before the PPC mail";
}

TEST(ProcessFaultlogData, StoresTheTimeOfTheCollection) {
  SendSite site;
  site.program.settings.SendPPC = "False";
  site.transport.failing = {1};
  EXPECT_FALSE(site.Run());
  EXPECT_EQ(site.LastCollection(), "15.03.2004 14:37:09") << "it is the collection's, not the mail's";
}

TEST(ProcessFaultlogData, ShowsWhyAFileCouldNotBeFiledAndGoesOn) {
  SendSite site;
  site.program.settings.SendPPC = "False";
  site.folder.Write("home/Faultlog/Archive/AB12/unit.xml", "broken");
  site.Process("FLog.4711.200403151301.xml", WaitingText);
  EXPECT_FALSE(site.Run());
  ASSERT_EQ(site.prompt.messages.size(), 3U);
  EXPECT_EQ(site.prompt.messages[0].text, "Faultlogger files not found in Latest folder(s)");
  EXPECT_THAT(site.prompt.messages[1].text, StartsWith("Error: cannot merge into"));
  EXPECT_EQ(site.prompt.messages[1].title, "Error");
  EXPECT_EQ(site.prompt.messages[1].icon, MessageIcon::Critical);
  EXPECT_EQ(site.prompt.messages[2], MailSent);
  EXPECT_TRUE(fs::exists(site.Tree("Latest") / "unit.xml"));
}

TEST(ProcessFaultlogData, StopsWhenASettingIsMissing) {
  SendSite site;
  site.program.settings.SendPPC = "False";
  site.program.settings.SMTPServer.clear();
  EXPECT_FALSE(site.Run());
  EXPECT_THAT(site.prompt.messages, ElementsAre(ShownMessage{"SMTP Server name missing in FP mail options",
                                                             MessageIcon::None, ""}));
  EXPECT_EQ(site.LastCollection(), "");
  EXPECT_THAT(site.Mails(), IsEmpty());
}

TEST(CollectUnsentFiles, CollectsDocumentsWithNotSentInTheFirstFiveLines) {
  SendSite site;
  site.Process("1.xml", WaitingText);
  site.Process("2.XML", "1\n2\n3\n4\nNOT SENT\n");
  site.Process("3.xml", "1\n2\n3\n4\n5\nNot Sent\n");
  site.Process("4.xml", SentText);
  site.Process("5.xml", "<a Mode=\"Sent\">\n<b>Not Sent</b></a>");
  site.Process("6.txt", WaitingText);
  const std::optional<CollectedDocuments> collected = InteractiveSend(site.program).CollectUnsentFiles();
  ASSERT_TRUE(collected.has_value());
  EXPECT_THAT(test::PathsOf(collected->documents),
              ElementsAre(site.Tree("Process") / "1.xml", site.Tree("Process") / "2.XML"));
  EXPECT_THAT(collected->problems, IsEmpty());
  EXPECT_THAT(site.display.ranges, ElementsAre(5));
  EXPECT_THAT(site.display.positions, ElementsAre(1, 2, 3, 4, 5));
}

TEST(CollectUnsentFiles, CreatesTheProcessFolder) {
  SendSite site;
  fs::remove_all(site.home / "Faultlog");
  EXPECT_TRUE(InteractiveSend(site.program).CollectUnsentFiles().has_value());
  EXPECT_TRUE(fs::is_directory(site.Tree("Process")));
}

TEST(CollectUnsentFiles, DescribesAnError) {
  SendSite site;
  site.program.settings.ProcessFolder = Utf8FromPath(site.folder.Path() / "gone") + "/";
  EXPECT_FALSE(InteractiveSend(site.program).CollectUnsentFiles().has_value());
  ASSERT_EQ(site.prompt.messages.size(), 1U);
  EXPECT_THAT(site.prompt.messages[0].text, AllOf(StartsWith("Description: "), HasSubstr("gone")));
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:" + site.prompt.messages[0].text));
}

/// A file system on which one file is unreadable.
class OneUnreadable final : public test::DyingFileSystem {
 public:
  [[nodiscard]] std::unique_ptr<FileReader> OpenForReading(const fs::path& path) const override {
    if (path.filename() == "b.xml") throw FileError("cannot read", path, "Input/output error");
    return DyingFileSystem::OpenForReading(path);
  }
};

TEST(CollectUnsentFiles, ReportsAnUnreadableDocumentAndSendsTheOthers) {
  SendSite site;
  const fs::path bad = site.Process("b.xml", WaitingText);
  const fs::path good = site.Process("c.xml", WaitingText);
  OneUnreadable files;
  FieldpostProgram program({files, site.clock, site.keys, site.transport, site.prompt, site.display},
                           site.home);
  program.settings = site.program.settings;
  program.settings.SendPPC = "False";
  program.settings.NumAttachments = "9";
  EXPECT_FALSE(InteractiveSend(program).Run());
  EXPECT_THAT(site.Mails(), ElementsAre(std::string("faultlog: ") + Document + " c.xml"));
  EXPECT_EQ(test::ReadFile(good), SentText);
  EXPECT_EQ(test::ReadFile(bad), WaitingText);
  const std::string problem = "Description: cannot read " + Utf8FromPath(bad) + ": Input/output error";
  EXPECT_THAT(site.Log(), Contains("[Error]:" + problem));
  EXPECT_THAT(site.prompt.messages,
              ElementsAre(ShownMessage{problem, MessageIcon::Exclamation, ""}, MailSent));
}

TEST(CollectUnsentFiles, ReportsADocumentThatIsTooLargeAndSendsTheOthers) {
  SendSite site;
  site.program.settings.SendPPC = "False";
  site.program.settings.NumAttachments = "9";
  const fs::path huge = site.Process("b.xml", WaitingText);
  const fs::path good = site.Process("c.xml", WaitingText);
  fs::resize_file(huge, std::uintmax_t{70} * 1024 * 1024);
  EXPECT_FALSE(site.Run());
  EXPECT_THAT(site.Mails(), ElementsAre(std::string("faultlog: ") + Document + " c.xml"));
  EXPECT_EQ(test::ReadFile(good), SentText);
  const std::string problem =
      "Description: cannot read " + Utf8FromPath(huge) + ": larger than 67108864 bytes";
  EXPECT_THAT(site.Log(), Contains("[Error]:" + problem));
  EXPECT_THAT(site.prompt.messages,
              ElementsAre(ShownMessage{problem, MessageIcon::Exclamation, ""}, MailSent));
}

TEST(InteractiveSend, PacksOnlyThePpcDocumentsOfThisRun) {
  SendSite site;
  site.program.settings.SendFault = "False";
  site.program.settings.UseZip = "True";
  site.folder.Write("home/Faultlog/PPCTemp/PPC.4711.200403151402.xml", "of another run of this hour");
  std::string zip;
  InteractiveSend send(
      site.program,
      {.open = [] {},
       .close = [&] { zip = test::ReadFile(site.Tree("PPCTemp") / "PPC.4711.200403151400.zip"); }});
  EXPECT_TRUE(send.Run());
  EXPECT_THAT(site.Mails(), ElementsAre("ppc: PPC.4711.200403151400.zip"));
  EXPECT_THAT(zip, HasSubstr("PPC.4711.200403151401.xml"));
  EXPECT_THAT(zip, Not(HasSubstr("PPC.4711.200403151402.xml")));
  EXPECT_THAT(site.display.labels, Contains("Packing PPC Data..."));
  EXPECT_THAT(site.display.ranges, ElementsAre(1, 100, 1));
  EXPECT_THAT(test::Names(site.Tree("PPCTemp")), IsEmpty());
}

TEST(InteractiveSend, SendsTheOtherHalfWhenOneFails) {
  SendSite site;
  site.transport.failing = {1};
  EXPECT_FALSE(site.Run());
  EXPECT_EQ(site.Mails().size(), 2U);
  EXPECT_THAT(site.Mails()[1], StartsWith("ppc: PPC."));
  EXPECT_THAT(site.prompt.messages,
              ElementsAre(ShownMessage{"Mail to faultlog@fieldpost.example\r\nError: 7 refused",
                                       MessageIcon::Critical, "Error"},
                          MailSent));
  EXPECT_THAT(test::ReadFile(site.Tree("Process") / Document), HasSubstr("Mode=\"Not Sent\""));
}

TEST(InteractiveSend, SendsFaultlogsWithoutAPpcDatabase) {
  SendSite site;
  fs::remove_all(site.folder.Path() / "db");
  EXPECT_FALSE(site.Run());
  EXPECT_THAT(site.Mails(), ElementsAre(std::string("faultlog: ") + Document));
  EXPECT_THAT(site.prompt.messages,
              ElementsAre(MailSent, ShownMessage{"PPC Path or File not found!", MessageIcon::Exclamation,
                                                 "Path or File not found!"}));
}

TEST(InteractiveSend, RefusesFoldersThatAnotherRunHasLocked) {
  for (const char* folder : {"Latest", "Archive", "Process", "PPCTemp"}) {
    SendSite site;
    const auto lock = DiskFileSystem().TryLock(site.Tree(folder));
    EXPECT_FALSE(site.Run());
    ASSERT_EQ(site.prompt.messages.size(), 1U);
    EXPECT_THAT(site.prompt.messages[0].text, StartsWith("Another run of Fieldpost is working in"));
    EXPECT_EQ(site.prompt.messages[0].icon, MessageIcon::Exclamation);
    EXPECT_THAT(site.Log(), ElementsAre("[Error]:" + site.prompt.messages[0].text));
    EXPECT_TRUE(fs::exists(site.Tree("Latest") / "unit.xml"));
    EXPECT_THAT(site.Mails(), IsEmpty());
  }
}

TEST(InteractiveSend, LocksOutAnUnattendedRun) {
  SendSite site;
  std::vector<test::CommandResult> beside;
  site.transport.during = [&] {
    beside.push_back(test::RunCommand("env -u FIELDPOST_REGISTRY FIELDPOST_HOME='" + site.home.native() +
                                      "' '" + FIELDPOST_BIN "/fieldpost' -fcs"));
  };
  EXPECT_TRUE(site.Run());
  EXPECT_EQ(site.Mails().size(), 2U);
  ASSERT_EQ(beside.size(), 2U) << "one while each mail is on its way";
  std::string log;
  for (const std::string& name : test::Names(site.Tree("Log")))
    log += test::ReadFile(site.Tree("Log") / name);
  for (const test::CommandResult& run : beside) {
    EXPECT_EQ(WEXITSTATUS(run.status), 1);
    EXPECT_EQ(run.output, "");
    const std::size_t line = log.find("[Error]:Another run of Fieldpost is working in ");
    ASSERT_NE(line, std::string::npos);
    log.erase(0, line + 1);
  }
  EXPECT_THAT(log, Not(HasSubstr("[Error]")));
}

TEST(InteractiveSend, UnlocksTheFoldersAtItsEnd) {
  SendSite site;
  EXPECT_TRUE(site.Run());
  for (const char* folder : {"Latest", "Archive", "Process", "PPCTemp"}) {
    EXPECT_NE(DiskFileSystem().TryLock(site.Tree(folder)), nullptr) << folder;
  }
}

TEST(InteractiveSend, RefusesSettingsThatCannotBeRead) {
  SendSite site;
  fs::remove(site.home / "Options.ini");
  site.folder.Folder("home/Options.ini");
  EXPECT_FALSE(site.Run());
  ASSERT_EQ(site.prompt.messages.size(), 1U);
  EXPECT_EQ(site.prompt.messages[0].icon, MessageIcon::Exclamation);
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:" + site.prompt.messages[0].text));
  EXPECT_TRUE(fs::exists(site.Tree("Latest") / "unit.xml"));
}

/// Whenever the user cancels, nothing is lost, one log line and no message box says so, and the next send
/// does the rest.
TEST(InteractiveSend, CanBeCancelledAtEveryTurn) {
  constexpr const char* ended = "[Error]:Ended by the user; what was not sent is left for the next send";
  bool whole = false;
  for (std::size_t stopAfterTurns = 0; !whole; ++stopAfterTurns) {
    SendSite site;
    site.program.settings.UseZip = "True";
    site.Latest("second.xml", test::FaultlogXml("CD34"));
    site.display.stopAfterTurns = stopAfterTurns;
    whole = site.Run();
    const std::vector<std::string> log = site.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), ended), whole ? 0 : 1) << stopAfterTurns;
    EXPECT_THAT(site.prompt.messages, Each(MailSent)) << stopAfterTurns;
    EXPECT_EQ(
        std::count_if(log.begin(), log.end(), [](const auto& line) { return line.starts_with("[Error]"); }),
        whole ? 0 : 1);
    EXPECT_TRUE(!whole || stopAfterTurns > 10) << stopAfterTurns;

    site.display.stopAfterTurns = std::numeric_limits<std::size_t>::max();
    EXPECT_TRUE(site.Run()) << stopAfterTurns;
    EXPECT_THAT(test::Names(site.Tree("Latest")), IsEmpty()) << stopAfterTurns;
    EXPECT_THAT(test::Names(site.Tree("PPCTemp")), IsEmpty()) << stopAfterTurns;
    for (const char* file : {"AB12/unit.xml", "CD34/second.xml"}) {
      EXPECT_TRUE(fs::exists(site.Tree("Archive") / file)) << stopAfterTurns;
    }
    for (const std::string& name : test::Names(site.Tree("Process"))) {
      EXPECT_THAT(test::ReadFile(site.Tree("Process") / name), HasSubstr("Mode=\"Sent\"")) << stopAfterTurns;
    }
  }
}

}  // namespace
}  // namespace fieldpost
