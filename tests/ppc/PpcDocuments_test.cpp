// PpcDocuments: the order of its flushes, and a date that is known only after the entries.
#include <gtest/gtest.h>

#include <array>

#include "support/Ppc.h"
#include "support/TracedFileSystem.h"

namespace fieldpost {
namespace {

using test::Change;
using test::FlushRule;

bool IsPublished(const Change& change) {
  return change.what == "rename" && change.to.extension() == ".xml" &&
         Utf8FromPath(change.to.filename()).starts_with("PPC.");
}

const std::array Rules{
    FlushRule{"a document is written before it is published",
              [](const Change& first, const Change& then) {
                return (first.what == "write" || first.what == "append") && IsPublished(then) &&
                       first.path == then.path;
              }},
    FlushRule{"a document with a late date is complete before it is published",
              [](const Change& first, const Change& then) {
                return first.what == "rename" && IsPublished(then) && first.to == then.path;
              }},
    FlushRule{"the documents are published before the export is removed",
              [](const Change& first, const Change& then) {
                return IsPublished(first) && then.what == "remove" && then.path.filename() == "PPCData.xml";
              }},
};

TEST(PpcDocuments, FlushesDocumentsBeforeTheExportIsRemoved) {
  test::PpcSite site;
  const std::string long1 = "<PPCentry>" + std::string(2'900'000, 'x') + "</PPCentry>";
  site.Export("<R>" + long1 + "<PPCentry/><ArchiveDate>20040315</ArchiveDate></R>");
  test::Trace trace;
  test::TracedFileSystem traced(site.files, trace);
  test::PpcParts run({traced, site.clock, site.keys, site.transport, site.prompt, site.display}, site.home);
  run.settings = site.program.settings;
  EXPECT_EQ(run.ppcAttachments.MakePPCFilesQuiet(site.display).documents.size(), 2U);
  for (const FlushRule& rule : Rules) EXPECT_GT(ExpectFlushed(trace, rule, "whole run"), 0U) << rule.name;
}

TEST(PpcDocuments, ALateDateChangesNothingElse) {
  std::string entries;
  for (int i = 0; i < 700'000; ++i) entries += std::to_string(i) + " ";
  entries = "<PPCentry>" + entries + "</PPCentry>";
  const std::string date = "<ArchiveDate>20040315</ArchiveDate>";
  std::vector<std::string> documents;
  for (const bool late : {false, true}) {
    test::PpcSite site;
    site.Export("<R>" + (late ? entries + date : date + entries) + "</R>");
    EXPECT_TRUE(site.program.ppcAttachments.MakePPCFilesQuiet(site.display).succeeded);
    documents.push_back(site.Document());
  }
  EXPECT_GT(documents[0].size(), 4'500'000U) << "more than two pieces of what is read in one go";
  EXPECT_TRUE(documents[0] == documents[1]);
}

TEST(PpcDocuments, WritesALargeEntryInPieces) {
  struct Row {
    std::size_t characters;
    std::size_t least;
    std::size_t most;
  };
  for (const Row& row : {Row{100, 1, 1}, Row{9'000'000, 4, 6}}) {
    test::PpcSite site;
    site.Export("<R><PPCentry>" + std::string(row.characters, 'x') + "</PPCentry></R>");
    test::Trace trace;
    test::TracedFileSystem traced(site.files, trace);
    test::PpcParts run({traced, site.clock, site.keys, site.transport, site.prompt, site.display}, site.home);
    run.settings = site.program.settings;
    EXPECT_TRUE(run.ppcAttachments.MakePPCFilesQuiet(site.display).succeeded);
    const auto writes =
        static_cast<std::size_t>(std::count_if(trace.begin(), trace.end(), [](const Change& change) {
          return (change.what == "write" || change.what == "append") &&
                 change.path.extension() == ".fieldpost-new";
        }));
    EXPECT_GE(writes, row.least);
    EXPECT_LE(writes, row.most);
  }
}

}  // namespace
}  // namespace fieldpost
