// Recovery of a send that was interrupted.
#include <gmock/gmock.h>

#include <array>
#include <iostream>

#include "outbox/SendJournal.h"
#include "support/SendSite.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::Sent;
using test::Waiting;
using test::Waits;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Three documents wait, each for a mail of its own.
struct WaitingSite : test::ReadyOutboxSite {
  WaitingSite() {
    for (int i = 1; i <= 3; ++i) {
      documents.push_back(
          folder.Write(fmt::format("home/Faultlog/Process/FLog.4711.20040315140{}.xml", i), Waiting));
    }
  }

  [[nodiscard]] fs::path Journal() const { return Tree("Process") / "FLog.sent"; }

  [[nodiscard]] bool IsNoted() const {
    return fs::exists(Journal()) && SentDocumentsFrom(test::ReadFile(Journal())).has_value();
  }

  void ExpectAllMarked(const std::string& when) const {
    for (const fs::path& document : documents) EXPECT_EQ(test::ReadFile(document), Sent) << when << document;
    EXPECT_FALSE(fs::exists(Journal())) << when;
  }

  std::vector<fs::path> documents;
};

/// The next run on the same folders.
struct NextRun {
  explicit NextRun(WaitingSite& site)
      : program({disk, site.clock, site.keys, site.transport, site.prompt, site.display}, site.home) {
    program.settings = site.program.settings;
  }

  DiskFileSystem disk;
  test::OutboxParts program;
};

TEST(FinishInterruptedSend, MarksNotedDocumentsWhereverTheProgramWasKilled) {
  std::size_t changes = 0;
  {
    WaitingSite site;
    const std::size_t before = site.files.changes;
    EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
    changes = site.files.changes - before;
    site.ExpectAllMarked("without a kill");
  }
  std::size_t noted = 0;
  std::size_t acceptedButNotNoted = 0;
  for (std::size_t n = 0; n < changes; ++n) {
    WaitingSite site;
    site.files.changesLeft = n;
    EXPECT_THROW(static_cast<void>(site.program.sendLoop.SendQueuedFaultlogs()), test::Killed) << n;
    const std::size_t sent = site.transport.mails.size();
    const bool wasNoted = site.IsNoted();
    const bool wasMarked = test::ReadFile(site.documents[2]) == Sent;
    noted += wasNoted ? 1 : 0;
    acceptedButNotNoted += sent == 3 && !wasNoted && !wasMarked ? 1 : 0;

    NextRun next(site);
    EXPECT_TRUE(next.program.sendLoop.FinishInterruptedSend()) << n;
    EXPECT_TRUE(next.program.sendLoop.SendQueuedFaultlogs()) << n;
    EXPECT_EQ(site.transport.mails.size(), wasNoted || wasMarked ? sent : sent + 3) << "killed at " << n;
    site.ExpectAllMarked(fmt::format("killed at {} of {}: ", n, changes));
  }
  EXPECT_GE(noted, 8U) << "flush, log, and all that marking is made of";
  EXPECT_EQ(acceptedButNotNoted, 1U) << "the writing of the note itself, and nothing else";
  std::cout << changes << " changes, killed at each; noted at " << noted << " of them\n";
}

TEST(FinishInterruptedSend, DeletesTheZipWhereverTheProgramWasKilled) {
  std::size_t changes = 0;
  {
    WaitingSite site;
    site.program.settings.UseZip = "True";
    const std::size_t before = site.files.changes;
    EXPECT_TRUE(site.program.sendLoop.SendQueuedFaultlogs());
    changes = site.files.changes - before;
  }
  for (std::size_t n = 0; n < changes; ++n) {
    WaitingSite site;
    site.program.settings.UseZip = "True";
    site.files.changesLeft = n;
    EXPECT_THROW(static_cast<void>(site.program.sendLoop.SendQueuedFaultlogs()), test::Killed) << n;
    NextRun next(site);
    EXPECT_TRUE(next.program.sendLoop.FinishInterruptedSend()) << n;
    EXPECT_TRUE(next.program.sendLoop.SendQueuedFaultlogs()) << n;
    site.ExpectAllMarked(fmt::format("killed at {} of {}: ", n, changes));
    for (const fs::directory_entry& file : fs::directory_iterator(site.Tree("Process"))) {
      EXPECT_NE(file.path().extension(), ".zip") << "killed at " << n;
    }
  }
}

TEST(FinishInterruptedSend, LogsHowManyDocumentsItMarked) {
  WaitingSite site;
  SendJournal(site.files)
      .Write(site.Tree("Process"), {{site.documents[0], HashContent(Waiting)},
                                    {site.documents[1], HashContent("another content")},
                                    {site.Tree("Process") / "gone.xml", HashContent(Waiting)}});
  EXPECT_TRUE(site.program.sendLoop.FinishInterruptedSend());
  EXPECT_THAT(site.Log(), ElementsAre("[Mail]:Marked 1 documents that an interrupted run had mailed"));
  EXPECT_EQ(test::ReadFile(site.documents[0]), Sent);
  EXPECT_EQ(test::ReadFile(site.documents[1]), Waiting) << "what is not as it was mailed waits";
  EXPECT_FALSE(fs::exists(site.Journal()));
}

TEST(FinishInterruptedSend, DeletesTheZipOfAnInterruptedSend) {
  WaitingSite site;
  const fs::path zip = site.folder.Write("home/Faultlog/Process/FLog.4711.200403151400.zip", "packed");
  EXPECT_TRUE(site.program.sendLoop.FinishInterruptedSend());
  EXPECT_FALSE(fs::exists(zip));
  EXPECT_THAT(site.Log(), IsEmpty());
}

TEST(FinishInterruptedSend, ChangesNothingWithoutAJournal) {
  struct Row {
    const char* name;
    void (*given)(WaitingSite& site);
  };
  const std::array rows{
      Row{"no journal", [](WaitingSite&) {}},
      Row{"one that was cut off",
          [](WaitingSite& site) {
            site.folder.Write("home/Faultlog/Process/FLog.sent",
                              BytesOf({{site.documents[0], HashContent(Waiting)}}).substr(0, 60));
          }},
      Row{"no Process folder", [](WaitingSite& site) { site.program.settings.ProcessFolder = ""; }},
  };
  for (const Row& row : rows) {
    WaitingSite site;
    row.given(site);
    EXPECT_TRUE(site.program.sendLoop.FinishInterruptedSend()) << row.name;
    EXPECT_THAT(site.Log(), IsEmpty()) << row.name;
    for (const fs::path& document : site.documents) EXPECT_EQ(test::ReadFile(document), Waiting) << row.name;
  }
}

/// Makes the replacement of a document unwritable: a folder has the name of its temporary file.
void Block(const fs::path& document) {
  fs::create_directories(TemporaryNameFor(document) / "in the way");
}

TEST(FinishInterruptedSend, DocumentWhoseMarkedCopyCannotBeWrittenIsNotSentAgain) {
  WaitingSite site;
  Block(site.documents[1]);
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_EQ(site.transport.mails.size(), 3U);
  EXPECT_THAT(site.Log(), Contains(HasSubstr("[Error]:cannot remove ")));
  EXPECT_TRUE(site.IsNoted());

  {
    NextRun next(site);
    EXPECT_FALSE(next.program.sendLoop.FinishInterruptedSend());
    const fs::path fresh = site.folder.Write("home/Faultlog/Process/FLog.4711.2004031514.09.xml", Waiting);
    EXPECT_FALSE(Waits(next, site.documents[1]));
    EXPECT_TRUE(Waits(next, fresh));
    EXPECT_FALSE(next.program.sendLoop.SendQueuedFaultlogs()) << "one is still to be marked";
    ASSERT_EQ(site.transport.mails.size(), 4U) << "what is new goes";
    EXPECT_THAT(site.transport.mails[3].attachments, ElementsAre(fresh));
    EXPECT_TRUE(site.IsNoted());
  }

  fs::remove_all(TemporaryNameFor(site.documents[1]));
  NextRun last(site);
  EXPECT_TRUE(last.program.sendLoop.FinishInterruptedSend());
  EXPECT_TRUE(last.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_EQ(site.transport.mails.size(), 4U);
  site.ExpectAllMarked("after the place was free again: ");
}

TEST(SentMarking, WritesNoJournalWhenAMailFailed) {
  WaitingSite site;
  site.transport.failing = {3};
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_FALSE(fs::exists(site.Journal()));
}

TEST(SendQueuedFaultlogs, SendsNothingWhenTheJournalIsUnreadable) {
  WaitingSite site;
  fs::create_directory(site.Journal());
  EXPECT_FALSE(site.program.sendLoop.FinishInterruptedSend());
  EXPECT_FALSE(site.program.sendLoop.SendQueuedFaultlogs());
  EXPECT_THAT(site.transport.mails, IsEmpty());
  EXPECT_THAT(site.Log(), testing::Each(HasSubstr("FLog.sent")));
}

}  // namespace
}  // namespace fieldpost
