#include "shell/ModFPHide.h"

#include <gmock/gmock.h>

#include <functional>

#include "common/DocumentNames.h"
#include "support/NewsSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A site with new data of both kinds, and its settings on the disk.
struct RunSite : test::NewsSite {
  RunSite() { EXPECT_EQ(program.settingsStore.Save(program.settings), ""); }
};

constexpr const char* FaultlogMail = "faultlog: FLog.4711.200403151401.xml";
constexpr const char* PpcMail = "ppc: PPC.4711.200403151401.xml";

TEST(RunCommandLine, DoesTheJobOfTheSwitch) {
  struct Row {
    const char* line;
    std::vector<std::string> mails;
    bool collects;
    RunFlags flags;
  };
  for (const Row& row : {
           Row{"-fcs", {FaultlogMail}, true, {false, false, true}},
           Row{"-FcS", {FaultlogMail}, true, {false, false, true}},
           Row{"-fc", {}, true, {false, false, false}},
           Row{"-fs", {}, false, {false, false, true}},
           Row{"-ps", {PpcMail}, false, {false, true, true}},
           Row{"-PS", {PpcMail}, false, {false, true, true}},
           Row{"-fcs -ps", {FaultlogMail, PpcMail}, true, {false, true, true}},
           Row{"-ps -fcs", {PpcMail, FaultlogMail}, true, {false, false, true}},
           Row{"-PS -fcs", {PpcMail, FaultlogMail}, true, {false, false, true}},
       }) {
    RunSite site;
    const UnattendedResult result = ModFPHide(site.program).RunCommandLine(row.line);
    EXPECT_TRUE(result.handled) << row.line;
    EXPECT_TRUE(result.succeeded) << row.line;
    EXPECT_EQ(site.Mails(), row.mails) << row.line;
    EXPECT_EQ(fs::exists(site.Tree("Archive") / "AB12" / "unit.xml"), row.collects) << row.line;
    EXPECT_EQ(site.program.flags.ShowMessages, row.flags.ShowMessages) << row.line;
    EXPECT_EQ(site.program.flags.SendingPPC, row.flags.SendingPPC) << row.line;
    EXPECT_EQ(site.program.flags.SendAfterCollect, row.flags.SendAfterCollect) << row.line;
    EXPECT_THAT(site.prompt.messages, IsEmpty());
  }
}

TEST(RunCommandLine, FailsWhenSettingsOrLogCannotBeWritten) {
  struct Row {
    const char* name;
    std::function<void(RunSite&)> given;
  };
  for (const Row& row :
       {Row{"the numbers filled in", [](RunSite& site) { site.program.settings.SMTPPort.clear(); }},
        Row{"the Process folder", [](RunSite& site) { site.program.settings.ProcessFolder.clear(); }},
        Row{"the log", [](RunSite& site) {
              fs::remove_all(site.Tree("Log") / LogFileName(site.clock.Now()));
              fs::create_directories(site.Tree("Log") / LogFileName(site.clock.Now()));
            }}}) {
    RunSite site;
    site.folder.Folder("home/.Options.ini.fieldpost-new");  // where the settings would be written first
    row.given(site);
    testing::internal::CaptureStderr();
    const UnattendedResult result = ModFPHide(site.program).RunCommandLine("-fcs");
    EXPECT_TRUE(result.handled) << row.name;
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(result.succeeded) << row.name;
    EXPECT_EQ(site.Mails(), std::vector<std::string>{FaultlogMail}) << row.name;
  }
}

TEST(RunCommandLine, IgnoresEveryOtherLine) {
  for (const char* line : {"", "-", "-f", "-fcs ", " -fcs", "-fcs  -ps", "-ps  -fcs", "-ps -fc", "-fc -ps",
                           "-fs -ps", "-ps -ps", "-fcs,-ps", "-fcs -ps -fcs", "fcs", "-fcs\t-ps"}) {
    RunSite site;
    EXPECT_FALSE(ModFPHide(site.program).RunCommandLine(line).handled) << line;
    EXPECT_THAT(site.Mails(), IsEmpty());
    EXPECT_TRUE(fs::exists(site.Tree("Latest") / "unit.xml"));
  }
}

TEST(RunCommandLine, ChecksTheMailSettingsOnce) {
  for (const char* line : {"-fcs", "-fs", "-ps", "-fcs -ps", "-ps -fcs"}) {
    RunSite site;
    site.program.settings.SMTPServer.clear();
    const UnattendedResult result = ModFPHide(site.program).RunCommandLine(line);
    EXPECT_TRUE(result.handled) << line;
    EXPECT_FALSE(result.succeeded) << line;
    EXPECT_THAT(site.Log(), ElementsAre(HasSubstr("SMTP Server or Sender address"))) << line;
    EXPECT_TRUE(fs::exists(site.Tree("Latest") / "unit.xml")) << line;
    EXPECT_THAT(test::Names(site.Tree("PPCTemp")), IsEmpty()) << line;
  }
}

TEST(RunCommandLine, FailedHalfPassesNothingToTheOther) {
  struct Row {
    const char* line;
    std::vector<std::string> mails;
  };
  for (const Row& row :
       {Row{"-fcs -ps", {FaultlogMail, PpcMail}}, Row{"-ps -fcs", {PpcMail, FaultlogMail}}}) {
    for (const bool zipped : {false, true}) {
      RunSite site;
      site.transport.failing = {1};
      if (zipped) site.program.settings.UseZip = "True";
      const UnattendedResult result = ModFPHide(site.program).RunCommandLine(row.line);
      EXPECT_TRUE(result.handled);
      EXPECT_FALSE(result.succeeded) << row.line;
      std::vector<std::string> expected = row.mails;
      if (zipped) {
        for (std::string& mail : expected) mail.replace(mail.size() - 6, 6, "00.zip");
      }
      EXPECT_EQ(site.Mails(), expected) << row.line;
      EXPECT_THAT(site.transport.mails[0].body,
                  HasSubstr(row.mails[0] == PpcMail ? "[PPC Files]" : "[Faultlog Files]"));
      EXPECT_THAT(site.transport.mails[1].body,
                  HasSubstr(row.mails[1] == PpcMail ? "[PPC Files]" : "[Faultlog Files]"));
    }
  }
}

TEST(RunCommandLine, KeepsThePpcDocumentsOfAFailedMail) {
  RunSite site;
  site.transport.failing = {1};
  EXPECT_FALSE(ModFPHide(site.program).RunCommandLine("-ps").succeeded);
  EXPECT_THAT(test::Names(site.Tree("PPCTemp")), ElementsAre("PPC.4711.200403151401.xml"));
  EXPECT_TRUE(ModFPHide(site.program).RunCommandLine("-ps").succeeded);
  EXPECT_THAT(test::Names(site.Tree("PPCTemp")), IsEmpty());
}

TEST(RunCommandLine, SucceedsWhenThereIsNothingToSend) {
  RunSite site;
  site.folder.Write("db/ppc.xml", "<R/>");
  const UnattendedResult result = ModFPHide(site.program).RunCommandLine("-ps");
  EXPECT_TRUE(result.handled);
  EXPECT_TRUE(result.succeeded);
  EXPECT_THAT(site.Mails(), IsEmpty());
  EXPECT_THAT(site.Log(), ElementsAre("[PPC]:No PPC Data"));
}

TEST(RunCommandLine, MissingDatabaseDoesNotStopTheOtherHalf) {
  for (const char* line : {"-fcs -ps", "-ps -fcs"}) {
    RunSite site;
    fs::remove_all(site.folder.Path() / "db");
    const UnattendedResult result = ModFPHide(site.program).RunCommandLine(line);
    EXPECT_TRUE(result.handled);
    EXPECT_FALSE(result.succeeded) << line;
    EXPECT_THAT(site.Mails(), ElementsAre(FaultlogMail)) << line;
    EXPECT_THAT(site.Log(), testing::Contains("[Error]:PPCdata path not found or Quillon is not installed"));
  }
}

TEST(RunCommandLine, RefusesAPpcFolderThatAnotherRunHasLocked) {
  RunSite site;
  const auto lock = DiskFileSystem().TryLock(site.Tree("PPCTemp"));
  const UnattendedResult result = ModFPHide(site.program).RunCommandLine("-ps");
  EXPECT_TRUE(result.handled);
  EXPECT_FALSE(result.succeeded);
  EXPECT_THAT(site.Log(), ElementsAre(HasSubstr("Another run of Fieldpost is working in")));
}

}  // namespace
}  // namespace fieldpost
