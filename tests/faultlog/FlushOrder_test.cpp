// What has to be durable before what, from a Latest file to a document that was sent.
#include <gtest/gtest.h>

#include <array>
#include <iostream>
#include <set>

#include "faultlog/FilingBatch.h"
#include "support/TestSite.h"
#include "support/TracedFileSystem.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::Change;
using test::FlushRule;

bool IsLatest(const fs::path& path) {
  return path.parent_path().filename().string().starts_with("latest");
}

bool IsNamed(const fs::path& path, std::string_view name) {
  return path.filename() == name;
}

bool GivesName(const Change& change) {
  return change.what == "rename" && IsTemporaryName(Utf8FromPath(change.path.filename()));
}

const std::array Rules{
    FlushRule{"a file is written before it gets its name",
              [](const Change& first, const Change& then) {
                return first.what == "write" && GivesName(then) && first.path == then.path;
              }},
    FlushRule{"a batch is decided before a file of it gets its name",
              [](const Change& first, const Change& then) {
                return first.what == "write" && IsNamed(first.path, "FLog.journal") && GivesName(then);
              }},
    FlushRule{"a product's folder is made before a Latest file goes",
              [](const Change& first, const Change& then) {
                return first.what == "folder" && then.what == "remove" && IsLatest(then.path);
              }},
    FlushRule{"archive and document have their names before a Latest file goes",
              [](const Change& first, const Change& then) {
                return GivesName(first) && then.what == "remove" && IsLatest(then.path);
              }},
    FlushRule{"the Latest files are gone before the journal goes",
              [](const Change& first, const Change& then) {
                return first.what == "remove" && IsLatest(first.path) && then.what == "remove" &&
                       IsNamed(then.path, "FLog.journal");
              }},
    FlushRule{"a displaced document has its name before another takes the old one",
              [](const Change& first, const Change& then) {
                return first.what == "rename" && first.to.extension() == ".displaced" &&
                       then.what == "rename" && then.to == first.path;
              }},
    FlushRule{"what was sent is noted before anything else is written",
              [](const Change& first, const Change& then) {
                return first.what == "write" && IsNamed(first.path, "FLog.sent") && then.what != "flush";
              }},
    FlushRule{"documents are marked before the note of them goes",
              [](const Change& first, const Change& then) {
                return GivesName(first) && then.what == "remove" && IsNamed(then.path, "FLog.sent");
              }},
};

/// Two Latest folders, whose files are merged into one that is archived, filed anew and gathered into the
/// hour's last document, which displaces one that waits. All is mailed.
struct FullSite : test::ReadySite {
  FullSite() {
    latest = {folder.Folder("latest1") / "", folder.Folder("latest2") / ""};
    folder.Write("home/Faultlog/Archive/A/old.xml", test::FaultlogXml("A", "P", "20040101", "archived"));
    folder.Write("latest1/old.xml", test::FaultlogXml("A", "F", "20040101", "one"));
    folder.Write("latest1/new.xml", test::FaultlogXml("B", "F", "20040101", "two"));
    folder.Write("latest2/new.xml", test::FaultlogXml("B", "F", "20040101", "three"));
    for (int i = 1; i <= 99; ++i) {
      folder.Write(fmt::format("home/Faultlog/Process/FLog.4711.2004031514{:02}.xml", i),
                   fmt::format("<FLFILE Mode=\"{}\"><A/></FLFILE>\r\n", i == 99 ? "Not Sent" : "Sent"));
    }
  }

  /// A run over a file system that is killed at the change of this number. True when it was.
  bool Run(std::size_t changesLeft = 100'000) {
    test::DyingFileSystem dying;
    test::TracedFileSystem traced(dying, trace);
    FieldpostProgram run({traced, clock, keys, transport, prompt, display}, home);
    run.settings = program.settings;
    run.lists.LatestFolderList = latest;
    run.flags.SendAfterCollect = true;
    dying.changesLeft = changesLeft;
    const std::size_t before = dying.changes;
    try {
      EXPECT_TRUE(run.sendLoop.FinishInterruptedSend());
      run.scan.ProcessLatestFiles(display);
      EXPECT_TRUE(run.scan.Succeeded());
    } catch (const test::Killed&) {
      return true;
    }
    changes = dying.changes - before;
    return false;
  }

  PathList latest;
  test::Trace trace;
  std::size_t changes = 0;  ///< of the last run that was not killed
};

TEST(FlushOrder, OfAWholeRun) {
  FullSite site;
  ASSERT_FALSE(site.Run());
  EXPECT_FALSE(site.transport.mails.empty());
  for (const FlushRule& rule : Rules)
    EXPECT_GT(ExpectFlushed(site.trace, rule, "whole run"), 0U) << rule.name;
}

TEST(FlushOrder, OfARunThatFinishesWhatAKilledOneBegan) {
  FullSite whole;
  ASSERT_FALSE(whole.Run());
  ASSERT_GT(whole.changes, 30U);
  std::size_t pairs = 0;
  for (std::size_t n = 0; n < whole.changes; ++n) {
    FullSite site;
    EXPECT_TRUE(site.Run(n)) << n;
    EXPECT_FALSE(site.Run()) << n;
    const std::string when = fmt::format("killed at change {}", n);
    for (const FlushRule& rule : Rules) pairs += ExpectFlushed(site.trace, rule, when);
  }
  std::cout << whole.changes << " changes, killed at each; " << pairs
            << " pairs of changes with a flush between\n";
}

}  // namespace
}  // namespace fieldpost
