#include "environment/ModWriteLogFile.h"

#include <gmock/gmock.h>

#include "environment/EnvironmentSite.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(WriteLog, TagsAndSelectsLinesByCategory) {
  struct Row {
    const char* name;
    std::int16_t category;
    const char* text;
    std::vector<std::string> expected;
  };
  for (const Row& row : {
           Row{"mail skips the first line", 1, "a\r\nb", {"[Mail]:b"}},
           Row{"mail of one line", 1, "a", {}},
           Row{"mail that was sent", 1, "to x\r\nxyz Error: 0 ok", {"[Mail]:Mail Sent"}},
           Row{"mail that failed", 1, "to x\r\nError: 7 refused", {"[Mail]:Error: 7 refused"}},
           Row{"search", 2, "a\r\nb", {"[Search Latest]:a", "[Search Latest]:b"}},
           Row{"created", 3, "/x/[Log]\r\n", {"[Create missing directory]:/x/[Log]"}},
           Row{"error with an empty line", 4, "a\n\nb", {"[Error]:a", "[Error]:b"}},
           Row{"each kind of line end",
               4,
               "a\rb\nc\r\nd",
               {"[Error]:a", "[Error]:b", "[Error]:c", "[Error]:d"}},
           Row{"header", 5, "----", {"[Log File]"}},
           Row{"header of several lines", 5, "a\r\nb", {"[Log File]"}},
           Row{"PPC", 6, "a", {"[PPC]:a"}},
           Row{"unknown", 7, "a", {}},
           Row{"zero", 0, "a", {}},
           Row{"negative", -1, "a", {}},
       }) {
    test::ReadyEnvironmentSite site;
    site.log.WriteLog(row.text, row.category);
    EXPECT_EQ(site.Log(), row.expected) << row.name;
    EXPECT_TRUE(std::filesystem::exists(site.log.TodaysFile())) << row.name;
    EXPECT_THAT(site.log.PendingLogLines(), IsEmpty()) << row.name;
    EXPECT_FALSE(std::filesystem::exists(site.home / "STemp.tmp")) << row.name;
  }
}

TEST(WriteLog, WritesNothingForAnEmptyText) {
  test::ReadyEnvironmentSite site;
  for (std::int16_t category = 0; category <= 7; ++category) site.log.WriteLog("", category);
  EXPECT_FALSE(std::filesystem::exists(site.log.TodaysFile()));
}

TEST(WriteLog, StampsEachLine) {
  test::ReadyEnvironmentSite site;
  site.log.WriteLog("Faultlog path settings not found in Faultlog.ini", LogCategory::Error);
  EXPECT_EQ(test::ReadFile(site.Tree("Log") / "FPProg_15032004.log"),
            "15.03.2004 14:37:09  [Error]:Faultlog path settings not found in Faultlog.ini\r\n");
}

TEST(WriteLog, ShortensALongLine) {
  constexpr std::size_t longest = 2000;
  const std::string whole(longest, 'x');
  test::ReadyEnvironmentSite site;
  site.log.WriteLog(whole + "\r\n" + whole + "y", LogCategory::Error);
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:" + whole, "[Error]:" + whole + " ..."));
}

TEST(WriteLog, EscapesControlCharacters) {
  test::ReadyEnvironmentSite site;
  site.log.WriteLog("a\x1B[2Jb", LogCategory::Error);
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:a\\x1B[2Jb"));
}

TEST(WriteLog, BeginsANewFileAtMidnight) {
  test::ReadyEnvironmentSite site;
  site.clock.now = {.year = 2004, .month = 12, .day = 31, .hour = 23, .minute = 59, .second = 59};
  site.log.WriteLog("old", LogCategory::Error);
  site.clock.now = {.year = 2005, .month = 1, .day = 1};
  site.log.WriteLog("new", LogCategory::Error);
  EXPECT_EQ(test::Names(site.Tree("Log")),
            (std::set<std::string>{"FPProg_01012005.log", "FPProg_31122004.log"}));
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:new"));
}

TEST(WriteLog, WritesEveryLineWhenTheScratchFileCannotBeWritten) {
  test::ReadyEnvironmentSite site;
  site.folder.Folder("home/STemp.tmp");
  site.log.WriteLog("a\r\nb", LogCategory::Error);
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:a", "[Error]:b"));
}

TEST(WriteLog, ReplacesALeftoverScratchFile) {
  test::ReadyEnvironmentSite site;
  site.folder.Write("home/STemp.tmp", "left over");
  site.log.WriteLog("a\r\nb", LogCategory::Error);
  EXPECT_THAT(site.Log(), ElementsAre("[Error]:a", "[Error]:b"));
  EXPECT_FALSE(std::filesystem::exists(site.home / "STemp.tmp"));
}

TEST(WriteLog, WritesToStandardErrorWhenThereIsNoLog) {
  test::ReadyEnvironmentSite site;
  EXPECT_FALSE(site.log.HasFailed());
  std::filesystem::remove_all(site.Tree("Log"));
  testing::internal::CaptureStderr();
  site.log.WriteLog("the disk is full", LogCategory::Error);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("[Error]:the disk is full"));
  EXPECT_TRUE(site.log.HasFailed());
}

TEST(SplitLogText, CollectsTheNonEmptyLines) {
  test::ReadyEnvironmentSite site;
  EXPECT_FALSE(site.log.SplitLogText(""));
  EXPECT_TRUE(site.log.SplitLogText("a\r\n\r\nb"));
  EXPECT_THAT(site.log.PendingLogLines(), ElementsAre("a", "b"));
}

}  // namespace
}  // namespace fieldpost
