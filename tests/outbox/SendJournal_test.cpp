#include "outbox/SendJournal.h"

#include <gmock/gmock.h>

#include "common/SealedFields.h"
#include "platform/FileSystem.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

TEST(SendJournal, ReadsWhatWasWritten) {
  const SentDocuments documents{{"/p/a.xml", HashContent("a")}, {"/p/line\nbreak", HashContent("b")}};
  EXPECT_EQ(SentDocumentsFrom(BytesOf(documents)), documents);
  EXPECT_EQ(SentDocumentsFrom(BytesOf({})), SentDocuments());
}

TEST(SendJournal, RefusesAnIncompleteJournal) {
  const std::string bytes = BytesOf({{"/p/a.xml", HashContent("a")}});
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_EQ(SentDocumentsFrom(bytes.substr(0, length)), std::nullopt) << "cut at " << length;
  }
  SealedFieldWriter half("Fieldpost send journal 1");
  half.AddPath("/p/a.xml");
  EXPECT_EQ(SentDocumentsFrom(half.Finish()), std::nullopt) << "a document without its hash";
  std::string noField = "Fieldpost send journal 1\nno field";
  noField += ToHex(HashContent(noField));
  EXPECT_EQ(SentDocumentsFrom(noField), std::nullopt);
}

TEST(SendJournal, IsReadableByItsOwnerOnly) {
  const test::TempFolder folder;
  DiskFileSystem files;
  SendJournal journal(files);
  for (const std::string_view when : {"new", "replaced"}) {
    journal.Write(folder.Path(), {{"/p/a.xml", HashContent(when)}});
    EXPECT_EQ(fs::status(folder.Path() / "FLog.sent").permissions(), fs::perms(0600)) << when;
    EXPECT_EQ(journal.Read(folder.Path()), (SentDocuments{{"/p/a.xml", HashContent(when)}})) << when;
  }
  journal.Remove(folder.Path());
  EXPECT_EQ(journal.Read(folder.Path()), SentDocuments());
}

TEST(WasSent, ComparesPathAndContent) {
  const SentDocuments documents{{"/p/a.xml", HashContent("a")}};
  EXPECT_TRUE(WasSent(documents, "/p/a.xml", HashContent("a")));
  EXPECT_FALSE(WasSent(documents, "/p/a.xml", HashContent("b")));
  EXPECT_FALSE(WasSent(documents, "/p/b.xml", HashContent("a")));
}

}  // namespace
}  // namespace fieldpost
