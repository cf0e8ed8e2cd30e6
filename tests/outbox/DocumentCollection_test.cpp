#include "outbox/DocumentCollection.h"

#include <gmock/gmock.h>

#include "outbox/SendJournal.h"
#include "support/SendSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::SendSite;
using test::Sent;
using test::Waiting;
using testing::ElementsAre;
using testing::IsEmpty;

CollectedDocuments Collect(SendSite& site, std::vector<PendingFile> pending = {},
                           std::size_t lines = AllLines) {
  return CollectWaitingDocuments(
      site.files, {.folder = site.Tree("Process"), .pending = pending, .lines = lines}, site.display);
}

TEST(CollectWaitingDocuments, ReturnsEachWaitingDocumentWithItsHash) {
  SendSite site;
  const fs::path waiting = site.Document("b.xml");
  site.Document("a.xml", Sent);
  site.Document("c.txt");
  const CollectedDocuments collected = Collect(site);
  EXPECT_THAT(collected.documents, ElementsAre(PendingFile{waiting, HashContent(Waiting)}));
  EXPECT_THAT(collected.problems, IsEmpty());
  EXPECT_FALSE(collected.cancelled);
  EXPECT_THAT(site.display.labels, ElementsAre("a.xml 50%", "b.xml 100%"));
}

TEST(CollectWaitingDocuments, TakesTheLastHashOfAPendingDocument) {
  SendSite site;
  const fs::path document = site.Document("a.xml");
  const CollectedDocuments collected =
      Collect(site, {{document, HashContent("first")}, {document, HashContent("second")}});
  EXPECT_THAT(collected.documents, ElementsAre(PendingFile{document, HashContent("second")}));
}

TEST(CollectWaitingDocuments, ExcludesDocumentsListedInTheJournal) {
  SendSite site;
  const fs::path mailed = site.Document("a.xml");
  const fs::path changed = site.Document("b.xml");
  SendJournal(site.files)
      .Write(site.Tree("Process"),
             {{mailed, HashContent(Waiting)}, {changed, HashContent("another content")}});
  EXPECT_THAT(Collect(site).documents, ElementsAre(PendingFile{changed, HashContent(Waiting)}));
  EXPECT_THAT(Collect(site, {{mailed, HashContent(Waiting)}}).documents,
              ElementsAre(PendingFile{changed, HashContent(Waiting)}));
}

TEST(CollectWaitingDocuments, SearchesTheGivenNumberOfLines) {
  SendSite site;
  site.Document("a.xml", "1\n2\n3\n4\n5\nnot sent");
  EXPECT_THAT(Collect(site, {}, 5).documents, IsEmpty());
  EXPECT_EQ(Collect(site, {}, 6).documents.size(), 1U);
}

TEST(CollectWaitingDocuments, StopsWhenCancelled) {
  SendSite site;
  site.Documents(3);
  site.display.stopAfterTurns = 0;
  const CollectedDocuments collected = Collect(site);
  EXPECT_TRUE(collected.cancelled);
  EXPECT_THAT(collected.documents, IsEmpty());
}

TEST(CollectWaitingDocuments, FindsPendingDocumentsWhenTheFolderIsMissing) {
  SendSite site;
  const fs::path elsewhere = site.folder.Write("elsewhere.xml", Waiting);
  const std::vector<PendingFile> pending{{elsewhere, std::nullopt},
                                         {site.folder.Path() / "gone.xml", std::nullopt}};
  const CollectedDocuments collected = CollectWaitingDocuments(
      site.files, {.folder = site.folder.Path() / "none", .pending = pending}, site.display);
  EXPECT_THAT(collected.documents, ElementsAre(PendingFile{elsewhere, HashContent(Waiting)}));
}

}  // namespace
}  // namespace fieldpost
