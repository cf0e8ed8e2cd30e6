#include "outbox/DocumentMarking.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "common/Limits.h"
#include "common/RunLists.h"
#include "outbox/DocumentMode.h"
#include "support/DyingFileSystem.h"
#include "support/FailingCall.h"
#include "support/TempFolder.h"
#include "support/TracedFileSystem.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::Change;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::string_view Waiting = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"/>\r\n";
constexpr std::string_view Sent = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Sent\"/>\r\n";

/// The documents with the hashes of their present contents, as if they had been mailed.
SentDocuments AsMailed(const PathList& documents) {
  SentDocuments mailed;
  for (const std::filesystem::path& document : documents) {
    const bool isSmall = std::filesystem::is_regular_file(document) &&
                         std::filesystem::file_size(document) <= MaxDocumentBytes;
    mailed.insert_or_assign(document, HashContent(isSmall ? test::ReadFile(document) : ""));
  }
  return mailed;
}

struct DocumentMarkingTest : testing::Test {
  test::TempFolder folder;
  DiskFileSystem files;
  std::vector<std::size_t> shown;
  std::vector<std::string> unmarkable;

  PathList Documents(int count) const {
    PathList documents;
    for (int i = 0; i < count; ++i) documents.push_back(folder.Write(fmt::format("{}.xml", i), Waiting));
    return documents;
  }
  std::vector<std::string> Mark(const PathList& documents) {
    MarkingResult result =
        MarkDocuments(files, AsMailed(documents), [this](std::size_t done) { shown.push_back(done); });
    unmarkable = std::move(result.unmarkable);
    return std::move(result.failures);
  }
  static std::size_t CountSent(const PathList& documents) {
    return static_cast<std::size_t>(
        std::count_if(documents.begin(), documents.end(),
                      [](const auto& document) { return test::ReadFile(document) == Sent; }));
  }
};

TEST_F(DocumentMarkingTest, MarksMoreThanOneFlushTakes) {
  for (const int count : {0, 1, 63, 64, 65, 129}) {
    const PathList documents = Documents(count);
    shown.clear();
    EXPECT_THAT(Mark(documents), IsEmpty());
    EXPECT_EQ(CountSent(documents), documents.size()) << count;
    EXPECT_EQ(shown.size(), documents.size()) << count;
    EXPECT_EQ(test::Names(folder.Path()).size(), documents.size()) << "no temporary file is left";
  }
}

TEST_F(DocumentMarkingTest, LeavesWhatCannotBeMarked) {
  const PathList documents{folder.Write("a.xml", Waiting), folder.Path() / "gone.xml",
                           folder.Write("b.zip", Waiting), folder.Write("c.xml", "no document"),
                           folder.Folder("d.xml"),         folder.Write("e.XML", Waiting)};
  EXPECT_THAT(Mark(documents), IsEmpty());
  EXPECT_EQ(test::ReadFile(documents[0]), Sent);
  EXPECT_EQ(test::ReadFile(documents[2]), Waiting);
  EXPECT_EQ(test::ReadFile(documents[3]), "no document");
  EXPECT_EQ(test::ReadFile(documents[5]), Sent);
  EXPECT_THAT(unmarkable, ElementsAre("cannot mark as sent " + documents[3].string() +
                                      ": not well-formed; move it away, or every send mails it again"));
}

TEST_F(DocumentMarkingTest, RefusesAFileThatIsTooLargeForADocument) {
  const PathList documents{folder.Write("a.xml", Waiting), folder.Write("b.xml", Waiting)};
  std::filesystem::resize_file(documents[0], MaxDocumentBytes + 1);
  EXPECT_THAT(Mark(documents), ElementsAre("cannot read " + documents[0].string() + ": larger than " +
                                           std::to_string(MaxDocumentBytes) + " bytes"));
  EXPECT_EQ(test::ReadFile(documents[1]), Sent);
}

TEST_F(DocumentMarkingTest, FailedFlushLeavesItsGroupAndMarksTheOthers) {
  const PathList documents = Documents(130);
  const test::FailingCall failing("syncfs", EIO);
  EXPECT_THAT(Mark(documents), ElementsAre(HasSubstr("Input/output error")));
  EXPECT_EQ(CountSent(documents), 130U - 64U);
  EXPECT_EQ(test::Names(folder.Path()).size(), documents.size());
}

TEST_F(DocumentMarkingTest, ReportsTheFirstFailureWhenTheTemporaryFileStaysToo) {
  const PathList documents = Documents(1);
  const test::FailingCall full("syncfs", ENOSPC);
  constexpr int beforeWriting = 1;
  const test::FailingCall stuck("unlink", EACCES, beforeWriting);
  EXPECT_THAT(Mark(documents), ElementsAre(HasSubstr("No space left on device")));
  EXPECT_EQ(stuck.Failures(), 1);
  EXPECT_EQ(test::ReadFile(documents[0]), Waiting);
}

TEST_F(DocumentMarkingTest, LeavesADocumentThatChangedAfterItWasHashed) {
  const PathList documents = Documents(2);
  const SentDocuments mailed = AsMailed(documents);
  const std::string changed = std::string(Waiting) + "<!-- changed -->";
  folder.Write("0.xml", changed);
  const MarkingResult result = MarkDocuments(files, mailed, [](std::size_t) {});
  EXPECT_THAT(result.changed, ElementsAre(documents[0]));
  EXPECT_EQ(result.marked, 1U);
  EXPECT_THAT(result.failures, IsEmpty());
  EXPECT_EQ(test::ReadFile(documents[0]), changed);
  EXPECT_EQ(test::ReadFile(documents[1]), Sent);
}

constexpr std::string_view WaitingText =
    "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"><A/></FLFILE>\r\n";
constexpr std::string_view SentText = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Sent\"><A/></FLFILE>\r\n";

class MarkingTraceTest : public testing::Test {
 protected:
  std::vector<std::string> Mark(const PathList& documents) {
    return MarkDocuments(files_, AsMailed(documents), [this](std::size_t done) { shown_.push_back(done); })
        .failures;
  }

  test::TempFolder folder_;
  test::DyingFileSystem disk_;
  test::Trace trace_;
  test::TracedFileSystem files_{disk_, trace_};
  std::vector<std::size_t> shown_;
};

TEST_F(MarkingTraceTest, ChangesWaitingDocumentsOnly) {
  struct Row {
    const char* name;
    std::string_view before;
    std::string_view after;
  };
  for (const Row& row : {
           Row{"waits.xml", WaitingText, SentText},
           Row{"CAPITALS.XML", WaitingText, SentText},
           Row{"no-document.zip", WaitingText, WaitingText},
           Row{"broken.xml", "<FLFILE Mode=\"Not Sent\">", "<FLFILE Mode=\"Not Sent\">"},
       }) {
    trace_.clear();
    const fs::path file = folder_.Write(row.name, row.before);
    EXPECT_THAT(Mark({file}), IsEmpty()) << row.name;
    EXPECT_EQ(test::ReadFile(file), row.after) << row.name;
    EXPECT_EQ(trace_.empty(), row.before == row.after) << row.name << ": not even flushed";
  }
}

TEST_F(MarkingTraceTest, SkipsMissingDocuments) {
  const fs::path there = folder_.Write("b.xml", WaitingText);
  EXPECT_THAT(Mark({folder_.Path() / "a.xml", there}), IsEmpty());
  EXPECT_EQ(test::ReadFile(there), SentText);
  EXPECT_THAT(test::Names(folder_.Path()), ElementsAre("b.xml"));
  EXPECT_THAT(shown_, ElementsAre(0, 1));
}

TEST_F(MarkingTraceTest, FlushesTwiceForEachGroup) {
  PathList documents;
  for (int i = 0; i < 130; ++i) documents.push_back(folder_.Write(fmt::format("{:03}.xml", i), WaitingText));
  EXPECT_THAT(Mark(documents), IsEmpty());
  for (const fs::path& document : documents) EXPECT_EQ(test::ReadFile(document), SentText) << document;
  std::string steps;
  for (const Change& change : trace_) {
    if (change.what != "permissions") steps += change.what.front();
  }
  const auto group = [](std::size_t count) {
    return std::string(count, 'w') + "f" + std::string(count, 'r') + "f";
  };
  EXPECT_EQ(steps, group(64) + group(64) + group(2));
}

TEST_F(MarkingTraceTest, UnwritableDocumentDoesNotBlockTheOthers) {
  const fs::path broken = folder_.Write("a.xml", "<FLFILE Mode=\"Not Sent\">");
  const fs::path good = folder_.Write("b.xml", WaitingText);
  files_.before = [](const Change& change) {
    if (change.path.filename() == ".c.xml.fieldpost-new")
      throw FileError("cannot write", change.path, "full");
  };
  const fs::path refused = folder_.Write("c.xml", WaitingText);
  EXPECT_THAT(Mark({broken, refused, good}), testing::Contains(HasSubstr("cannot write")));
  EXPECT_EQ(test::ReadFile(good), SentText);
  EXPECT_EQ(test::ReadFile(refused), WaitingText);
}

TEST_F(MarkingTraceTest, ReportsAGroupThatCannotBeFlushed) {
  const fs::path document = folder_.Write("a.xml", WaitingText);
  files_.before = [](const Change& change) {
    if (change.what == "flush") throw FileError("cannot flush", "/the/folder", "input/output error");
  };
  EXPECT_THAT(Mark({document}), ElementsAre(HasSubstr("cannot flush /the/folder")));
  EXPECT_EQ(test::ReadFile(document), WaitingText);
  EXPECT_THAT(test::Names(folder_.Path()), ElementsAre("a.xml"));
}

}  // namespace
}  // namespace fieldpost
