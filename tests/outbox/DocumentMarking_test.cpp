#include "outbox/DocumentMarking.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cerrno>

#include "common/Limits.h"
#include "common/RunLists.h"
#include "outbox/DocumentMode.h"
#include "support/FailingCall.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::string_view Waiting = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"/>\r\n";
constexpr std::string_view Sent = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Sent\"/>\r\n";

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
        MarkDocuments(files, documents, [this](std::size_t done) { shown.push_back(done); });
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

TEST_F(DocumentMarkingTest, LeavesWhatItCannotMark) {
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

TEST_F(DocumentMarkingTest, RefusesWhatIsLargerThanADocument) {
  const PathList documents{folder.Write("a.xml", Waiting), folder.Write("b.xml", Waiting)};
  std::filesystem::resize_file(documents[0], MaxDocumentBytes + 1);
  EXPECT_THAT(Mark(documents), ElementsAre("cannot read " + documents[0].string() + ": larger than " +
                                           std::to_string(MaxDocumentBytes) + " bytes"));
  EXPECT_EQ(test::ReadFile(documents[1]), Sent);
}

TEST_F(DocumentMarkingTest, AFlushThatFailsLeavesItsDocumentsAndTheOthersGoOn) {
  const PathList documents = Documents(130);
  const test::FailingCall failing("syncfs", EIO);
  EXPECT_THAT(Mark(documents), ElementsAre(HasSubstr("Input/output error")));
  EXPECT_EQ(CountSent(documents), 130U - 64U);
  EXPECT_EQ(test::Names(folder.Path()).size(), documents.size());
}

TEST_F(DocumentMarkingTest, TellsWhatFailedFirstWhenItsTemporaryFileStaysToo) {
  const PathList documents = Documents(1);
  const test::FailingCall full("syncfs", ENOSPC);
  constexpr int beforeWriting = 1;
  const test::FailingCall stuck("unlink", EACCES, beforeWriting);
  EXPECT_THAT(Mark(documents), ElementsAre(HasSubstr("No space left on device")));
  EXPECT_EQ(stuck.Failures(), 1);
  EXPECT_EQ(test::ReadFile(documents[0]), Waiting);
}

}  // namespace
}  // namespace fieldpost
