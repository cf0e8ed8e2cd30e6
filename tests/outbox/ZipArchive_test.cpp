#include "outbox/ZipArchive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>

#include "common/RunLists.h"
#include "support/CommandOutput.h"
#include "support/FailingCall.h"
#include "support/RecordingUi.h"
#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ZipArchiveTest : public testing::Test {
 protected:
  ZipResult Pack(const PathList& paths) { return WriteZip(files, paths, zip, display); }

  /// Checks the zip with another program. Returns what it finds: a line "name|size|method" for each entry.
  [[nodiscard]] std::string Entries() const {
    return RunCommand(
               "/usr/bin/python3 -c \"import sys, zipfile\n"
               "z = zipfile.ZipFile(sys.argv[1])\n"
               "assert z.testzip() is None\n"
               "for i in z.infolist(): print(i.filename, i.file_size, i.compress_type, sep='|')\" '" +
               zip.native() + "'")
        .output;
  }

  [[nodiscard]] std::string Unpacked(const std::string& name) const {
    return RunCommand(
               "/usr/bin/python3 -c \"import sys, zipfile\n"
               "sys.stdout.buffer.write(zipfile.ZipFile(sys.argv[1]).read(sys.argv[2]))\" '" +
               zip.native() + "' '" + name + "'")
        .output;
  }

  TempFolder folder;
  DiskFileSystem files;
  RecordingDisplay display;
  std::filesystem::path zip = folder.Folder("process") / "FLog.4711.200403151400.zip";
};

TEST_F(ZipArchiveTest, StoresEveryFileUnderItsNameOnly) {
  std::string bytes;
  for (unsigned i = 0; i < 300'000; ++i) bytes += static_cast<char>(i * i >> 3U);
  const ZipResult result = Pack({folder.Write("one/a.xml", bytes), folder.Write("two/b.xml", ""),
                                 folder.Write("two/Prüfung.xml", "<a/>")});
  EXPECT_EQ(result.code, 0) << result.description;
  EXPECT_EQ(result.description, "");
  EXPECT_THAT(Entries(), testing::StartsWith("a.xml|300000|8\nb.xml|0|"));
  EXPECT_THAT(Entries(), HasSubstr("\nPrüfung.xml|4|"));
  EXPECT_EQ(Unpacked("a.xml"), bytes);
  EXPECT_THAT(Names(zip.parent_path()), ElementsAre(zip.filename().native()));
  EXPECT_GT(display.eventTurns, 10U);
}

TEST_F(ZipArchiveTest, CompressesAtLevelSix) {
  std::string text;
  for (int i = 0; i < 40'000; ++i) text += "<CONDATE>" + std::to_string(i * 7919 % 10007) + "</CONDATE>\r\n";
  const auto path = folder.Write("a.xml", text);
  ASSERT_EQ(Pack({path}).code, 0);
  const CommandResult result = RunCommand(
      "/usr/bin/python3 -c \"import sys, zipfile, zlib\n"
      "def size(level):\n"
      "    deflate = zlib.compressobj(level, zlib.DEFLATED, -15, 9)\n"
      "    return len(deflate.compress(open(sys.argv[2], 'rb').read()) + deflate.flush())\n"
      "packed = zipfile.ZipFile(sys.argv[1]).infolist()[0].compress_size\n"
      "print([level for level in range(1, 10) if size(level) == packed])\" '" +
      zip.native() + "' '" + path.native() + "'");
  EXPECT_THAT(result.output, HasSubstr("6")) << result.output;
  EXPECT_THAT(result.output, testing::Not(HasSubstr("1"))) << result.output;
}

TEST_F(ZipArchiveTest, MakesEqualNamesUnique) {
  const ZipResult result =
      Pack({folder.Write("1/a.xml", "1"), folder.Write("2/a.xml", "2"), folder.Write("3/A.XML", "3"),
            folder.Write("4/a (2).xml", "4"), folder.Write("5/b", "5"), folder.Write("6/b", "6"),
            folder.Write("7/.xml", "7"), folder.Write("8/.xml", "8")});
  EXPECT_EQ(result.code, 0) << result.description;
  for (const auto& [name, content] :
       {std::pair("a.xml", "1"), std::pair("a (2).xml", "2"), std::pair("A (3).XML", "3"),
        std::pair("a (2) (2).xml", "4"), std::pair("b", "5"), std::pair("b (2)", "6"), std::pair(".xml", "7"),
        std::pair(".xml (2)", "8")}) {
    EXPECT_EQ(Unpacked(name), content) << name;
  }
}

TEST_F(ZipArchiveTest, SameFilesGiveTheSameBytes) {
  const PathList paths{folder.Write("a.xml", "a"), folder.Write("b.xml", "b")};
  const auto oneHour = std::chrono::hours(1);
  for (const auto& path : paths)
    last_write_time(path, std::filesystem::file_time_type::clock::now() - oneHour);
  ASSERT_EQ(Pack(paths).code, 0);
  const std::string first = ReadFile(zip);
  ASSERT_EQ(Pack(paths).code, 0);
  EXPECT_EQ(ReadFile(zip), first);
}

TEST_F(ZipArchiveTest, ReplacesAnOlderZip) {
  ASSERT_EQ(Pack({folder.Write("a.xml", "a"), folder.Write("b.xml", "b")}).code, 0);
  ASSERT_EQ(Pack({folder.Write("c.xml", "c")}).code, 0);
  EXPECT_THAT(Entries(), testing::StartsWith("c.xml|1|"));
}

TEST_F(ZipArchiveTest, MissingFileFailsAndChangesNothing) {
  folder.Write("process/FLog.4711.200403151400.zip", "old");
  const ZipResult result = Pack({folder.Write("a.xml", "a"), folder.Path() / "missing.xml"});
  EXPECT_NE(result.code, 0);
  EXPECT_THAT(result.description, HasSubstr("missing.xml"));
  EXPECT_EQ(ReadFile(zip), "old");
  EXPECT_THAT(Names(zip.parent_path()), ElementsAre(zip.filename().native()));
}

TEST_F(ZipArchiveTest, UnreadableFileFailsAndLeavesNothing) {
  const ZipResult result = Pack({folder.Write("a.xml", "a"), folder.Folder("folder.xml")});
  EXPECT_NE(result.code, 0);
  EXPECT_THAT(result.description, HasSubstr("folder.xml"));
  EXPECT_TRUE(Names(zip.parent_path()).empty());
}

TEST_F(ZipArchiveTest, AnyFailureIsReportedAndLeavesNothing) {
  const PathList paths{folder.Write("a.xml", "a")};
  for (const char* call : {"zip_open", "zip_source_function", "zip_file_add", "zip_set_file_compression",
                           "zip_register_progress_callback_with_state"}) {
    const FailingCall failing(call, ENOMEM);
    const ZipResult result = WriteZip(files, paths, zip, display, [](int) {});
    EXPECT_EQ(failing.Failures(), 1) << call;
    EXPECT_NE(result.code, 0) << call;
    EXPECT_FALSE(result.cancelled) << call;
    EXPECT_THAT(result.description, HasSubstr("Malloc failure")) << call;
    EXPECT_TRUE(Names(zip.parent_path()).empty()) << call;
  }
  const FailingCall failing("rename", EACCES);
  EXPECT_THAT(Pack(paths).description, HasSubstr("Permission denied"));
  EXPECT_TRUE(Names(zip.parent_path()).empty());
}

TEST_F(ZipArchiveTest, ReportsTheFirstFailureWhenTheTemporaryFileStaysToo) {
  constexpr int onceForALeftOver = 1;
  const FailingCall failing("unlink", EACCES, onceForALeftOver);
  EXPECT_THAT(Pack({folder.Path() / "missing.xml"}).description, HasSubstr("missing.xml"));
  EXPECT_EQ(failing.Failures(), 1);
}

TEST_F(ZipArchiveTest, MissingFolderFails) {
  zip = folder.Path() / "missing" / "a.zip";
  const ZipResult result = Pack({folder.Write("a.xml", "a")});
  EXPECT_NE(result.code, 0);
  EXPECT_THAT(result.description, HasSubstr("cannot pack " + zip.native() + ": "));
}

TEST_F(ZipArchiveTest, EmptyListFails) {
  EXPECT_NE(Pack({}).code, 0);
  EXPECT_FALSE(std::filesystem::exists(zip));
}

TEST_F(ZipArchiveTest, LeavesNothingWhenCancelled) {
  const PathList paths{folder.Write("a.xml", std::string(500'000, 'a')), folder.Write("b.xml", "b")};
  ASSERT_EQ(Pack(paths).code, 0);
  const std::size_t turns = display.eventTurns;
  const std::string old = ReadFile(zip);
  for (std::size_t turn = 0; turn <= turns; turn += turns / 5) {
    display.stopAfterTurns = display.eventTurns + turn + 1;
    const ZipResult result = Pack(paths);
    EXPECT_EQ(result.cancelled, turn < turns) << turn;
    EXPECT_EQ(result.code == 0, turn == turns) << turn << result.description;
    EXPECT_EQ(ReadFile(zip), old) << turn;
    EXPECT_THAT(Names(zip.parent_path()), ElementsAre(zip.filename().native())) << turn;
  }
}

}  // namespace
}  // namespace fieldpost::test
