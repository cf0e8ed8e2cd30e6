#include "outbox/DocumentMarking.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <array>

#include "common/RunLists.h"
#include "support/DyingFileSystem.h"
#include "support/TempFolder.h"
#include "support/TracedFileSystem.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::Change;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::string_view Waiting = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"><A/></FLFILE>\r\n";
constexpr std::string_view Sent = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Sent\"><A/></FLFILE>\r\n";

class Marking : public testing::Test {
 protected:
  std::vector<std::string> Mark(const PathList& documents) {
    return MarkDocuments(files_, documents, [this](std::size_t done) { shown_.push_back(done); }).failures;
  }

  test::TempFolder folder_;
  test::DyingFileSystem disk_;
  test::Trace trace_;
  test::TracedFileSystem files_{disk_, trace_};
  std::vector<std::size_t> shown_;
};

TEST_F(Marking, TouchesDocumentsThatWaitAlone) {
  struct Row {
    const char* name;
    std::string_view before;
    std::string_view after;
  };
  for (const Row& row : {
           Row{"waits.xml", Waiting, Sent},
           Row{"CAPITALS.XML", Waiting, Sent},
           Row{"no-document.zip", Waiting, Waiting},
           Row{"broken.xml", "<FLFILE Mode=\"Not Sent\">", "<FLFILE Mode=\"Not Sent\">"},
       }) {
    trace_.clear();
    const fs::path file = folder_.Write(row.name, row.before);
    EXPECT_THAT(Mark({file}), IsEmpty()) << row.name;
    EXPECT_EQ(test::ReadFile(file), row.after) << row.name;
    EXPECT_EQ(trace_.empty(), row.before == row.after) << row.name << ": not even flushed";
  }
}

TEST_F(Marking, LeavesOutWhatIsGone) {
  const fs::path there = folder_.Write("b.xml", Waiting);
  EXPECT_THAT(Mark({folder_.Path() / "a.xml", there}), IsEmpty());
  EXPECT_EQ(test::ReadFile(there), Sent);
  EXPECT_THAT(test::Names(folder_.Path()), ElementsAre("b.xml"));
  EXPECT_THAT(shown_, ElementsAre(0, 1));
}

TEST_F(Marking, FlushesTwiceForEachGroup) {
  PathList documents;
  for (int i = 0; i < 130; ++i) documents.push_back(folder_.Write(fmt::format("{:03}.xml", i), Waiting));
  EXPECT_THAT(Mark(documents), IsEmpty());
  for (const fs::path& document : documents) EXPECT_EQ(test::ReadFile(document), Sent) << document;
  std::string steps;
  for (const Change& change : trace_) {
    if (change.what != "permissions") steps += change.what.front();
  }
  const auto group = [](std::size_t count) {
    return std::string(count, 'w') + "f" + std::string(count, 'r') + "f";
  };
  EXPECT_EQ(steps, group(64) + group(64) + group(2));
}

TEST_F(Marking, OneThatCannotBeReadHoldsUpNoOther) {
  const fs::path broken = folder_.Write("a.xml", "<FLFILE Mode=\"Not Sent\">");
  const fs::path good = folder_.Write("b.xml", Waiting);
  files_.before = [](const Change& change) {
    if (change.path.filename() == ".c.xml.fieldpost-new")
      throw FileError("cannot write", change.path, "full");
  };
  const fs::path refused = folder_.Write("c.xml", Waiting);
  EXPECT_THAT(Mark({broken, refused, good}), testing::Contains(HasSubstr("cannot write")));
  EXPECT_EQ(test::ReadFile(good), Sent);
  EXPECT_EQ(test::ReadFile(refused), Waiting);
}

TEST_F(Marking, AGroupThatCannotBeFlushedIsTold) {
  const fs::path document = folder_.Write("a.xml", Waiting);
  files_.before = [](const Change& change) {
    if (change.what == "flush") throw FileError("cannot flush", "/the/folder", "input/output error");
  };
  EXPECT_THAT(Mark({document}), ElementsAre(HasSubstr("cannot flush /the/folder")));
  EXPECT_EQ(test::ReadFile(document), Waiting);
  EXPECT_THAT(test::Names(folder_.Path()), ElementsAre("a.xml"));
}

}  // namespace
}  // namespace fieldpost
