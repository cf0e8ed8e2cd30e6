#include "archive/ArchiveList.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <chrono>

#include "support/FailingCall.h"
#include "support/RecordingUi.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

struct ArchiveListTest : testing::Test {
  test::TempFolder folder;
  DiskFileSystem files;
  test::RecordingDisplay display;
  ArchiveList list{files};

  void Write(std::string_view name, std::string_view mode) const {
    folder.Write(name, "<F><MODEIND>" + std::string(mode) + "</MODEIND></F>");
  }
  std::vector<std::string> Fill(const std::string& productCode) {
    list.Fill(folder.Path(), productCode, display);
    std::vector<std::string> rows;
    for (const ArchiveRow& row : list.Rows()) rows.push_back(row.name + "=" + std::string(row.mode));
    return rows;
  }
  /// Overwrites a file with a text of the same length, and restores its stamp.
  void ChangeUnseen(std::string_view name, std::string_view mode) const {
    const fs::path path = folder / name;
    const fs::file_time_type time = fs::last_write_time(path);
    Write(name, mode);
    fs::last_write_time(path, time);
  }
};

TEST(SizeText, MarksThousandsFrom1001On) {
  struct Row {
    std::uint64_t bytes;
    const char* text;
  };
  for (const Row& row : {Row{0, "0"}, Row{7, "7"}, Row{999, "999"}, Row{1000, "1000"},
                         Row{1001, "      1.001"}, Row{12345, "     12.345"}, Row{1'234'567, "   1234.567"},
                         Row{1'234'567'890, "1234567.890"}, Row{12'345'678'901, "12345678.901"}}) {
    EXPECT_EQ(SizeText(row.bytes), row.text);
  }
  EXPECT_EQ(SizeText(1001).size(), 11U);
}

TEST(ModifiedText, IsTheLocalDate) {
  // Noon, so that the date is the same in nearly every time zone.
  constexpr std::int64_t noon = 1'078'488'000;  // 2004-03-05 12:00 UTC
  EXPECT_EQ(ModifiedText({.modifiedNanoseconds = noon * 1'000'000'000}), "05.03.2004");
  EXPECT_EQ(ModifiedText({.modifiedNanoseconds = -43'200'000'000'001}), "31.12.1969");
}

TEST_F(ArchiveListTest, HasARowForEachXmlFileInOrder) {
  Write("4711/b.xml", "P");
  Write("4711/a.XML", "");
  Write("4711/c.txt", "P");
  Write("4711/.d.xml", "A");
  Write("4711/sub/e.xml", "A");
  folder.Folder("4711/folder.xml");
  folder.Write("4711/x.xml", "<F><MODEIND>P</MODEIND>");
  EXPECT_THAT(Fill("4711"), ElementsAre(".d.xml=Archive", "a.XML=Partial", "b.xml=Process",
                                        "x.xml=Mode indicator not found!"));
  EXPECT_EQ(list.Rows()[2].stamp, files.Stamp(folder / "4711/b.xml"));
  EXPECT_THAT(display.ranges, ElementsAre(4U));
  EXPECT_THAT(display.positions, ElementsAre(0U, 1U, 2U, 3U));
  EXPECT_GE(display.eventTurns, 4U);
}

TEST_F(ArchiveListTest, IgnoresLinksAndPipes) {
  Write("4711/a.xml", "P");
  fs::create_symlink(folder / "4711/a.xml", folder / "4711/b.xml");
  fs::create_symlink("/dev/zero", folder / "4711/c.xml");
  EXPECT_THAT(Fill("4711"), ElementsAre("a.xml=Process"));
}

TEST_F(ArchiveListTest, DoesNotReadAnUnchangedFileAgain) {
  Write("4711/a.xml", "P");
  Write("4711/b.xml", "P");
  Write("other/a.xml", "E");
  Fill("4711");
  ChangeUnseen("4711/a.xml", "A");
  EXPECT_THAT(Fill("4711"), ElementsAre("a.xml=Process", "b.xml=Process"))
      << "the same by all that is looked at";
  EXPECT_THAT(Fill("other"), ElementsAre("a.xml=Error"));
  EXPECT_THAT(Fill("4711"), ElementsAre("a.xml=Process", "b.xml=Process")) << "after another product code";
}

TEST_F(ArchiveListTest, ReadsAFileAgainWhenSizeTimeOrPlaceHasChanged) {
  for (const char* name : {"size", "time", "place"}) Write("4711/" + std::string(name) + ".xml", "P");
  Fill("4711");
  const fs::file_time_type time = fs::last_write_time(folder / "4711/size.xml");
  Write("4711/size.xml", "A ");
  fs::last_write_time(folder / "4711/size.xml", time);
  ChangeUnseen("4711/time.xml", "A");
  fs::last_write_time(folder / "4711/time.xml",
                      fs::last_write_time(folder / "4711/time.xml") + std::chrono::nanoseconds(4));
  Write("4711/new", "A");
  fs::last_write_time(folder / "4711/new", fs::last_write_time(folder / "4711/place.xml"));
  fs::rename(folder / "4711/new", folder / "4711/place.xml");
  EXPECT_THAT(Fill("4711"), ElementsAre("place.xml=Archive", "size.xml=Archive", "time.xml=Archive"));
}

TEST_F(ArchiveListTest, FindsNewAndRemovedFilesBetweenUnchangedOnes) {
  for (const char* name : {"b", "d", "f"}) Write("4711/" + std::string(name) + ".xml", "P");
  Fill("4711");
  for (const char* name : {"b", "d", "f"}) ChangeUnseen("4711/" + std::string(name) + ".xml", "A");
  fs::remove(folder / "4711/d.xml");
  for (const char* name : {"a", "c", "e", "g"}) Write("4711/" + std::string(name) + ".xml", "E");
  EXPECT_THAT(Fill("4711"), ElementsAre("a.xml=Error", "b.xml=Process", "c.xml=Error", "e.xml=Error",
                                        "f.xml=Process", "g.xml=Error"));
}

TEST_F(ArchiveListTest, ThrowsAndIsEmptyWhenTheFolderIsMissing) {
  Write("4711/a.xml", "P");
  Fill("4711");
  fs::create_directory_symlink(folder / "4711", folder / "link");
  for (const char* name : {"none", "link", "..", "4711/../4711", ""}) {
    EXPECT_THROW(Fill(name), FileError) << name;
    EXPECT_THAT(list.Rows(), IsEmpty()) << name;
  }
  try {
    Fill("none");
    FAIL();
  } catch (const FileError& error) {
    EXPECT_EQ(error.Number(), ENOENT);
  }
}

/// Removes a file when the third file is listed.
struct Remover final : StatusDisplay {
  fs::path victim;
  void SetPosition(std::size_t done) override {
    if (done == 1) fs::remove(victim);
  }
};

TEST_F(ArchiveListTest, HasNoRowForAFileThatIsRemovedMeanwhile) {
  for (const char* name : {"a", "b", "c", "d"}) Write("4711/" + std::string(name) + ".xml", "P");
  Remover remover;
  remover.victim = folder / "4711/c.xml";
  list.Fill(folder.Path(), "4711", remover);
  ASSERT_EQ(list.Rows().size(), 3U);
  EXPECT_EQ(list.Rows()[2].name, "d.xml");
}

TEST_F(ArchiveListTest, ReadsAnUnreadableFileAgain) {
  Write("a/1.xml", "P");
  {
    const test::FailingCall failing("read", EIO);
    EXPECT_THAT(Fill("a"), ElementsAre("1.xml=" + std::string(NoModeIndicator)));
    EXPECT_EQ(failing.Failures(), 1);
  }
  EXPECT_THAT(Fill("a"), ElementsAre("1.xml=Process"));
}

TEST_F(ArchiveListTest, KeepsTheRowsSoFarWhenCancelled) {
  for (const char* name : {"a", "b", "c", "d"}) Write("4711/" + std::string(name) + ".xml", "P");
  display.stopAfterTurns = 2;
  EXPECT_THAT(Fill("4711"), ElementsAre("a.xml=Process", "b.xml=Process"));
  display.stopAfterTurns = 1'000'000;
  EXPECT_EQ(Fill("4711").size(), 4U);
}

TEST_F(ArchiveListTest, AcceptsANameWithALineBreak) {
  Write("4711/a\nb.xml", "P");
  EXPECT_THAT(Fill("4711"), ElementsAre("a\nb.xml=Process"));
}

}  // namespace
}  // namespace fieldpost
