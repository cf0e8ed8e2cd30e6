#include "ppc/ModAttachment.h"

#include <gmock/gmock.h>

#include <cerrno>

#include "ppc/PpcError.h"
#include "support/FailingCall.h"
#include "support/Ppc.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::PpcSite;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* ExportHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<!-- exported by Fieldpost in place of ppcdb.dll -->\r\n"
    "<PPCData>\r\n";

std::string Export(PpcSite& site) {
  site.program.ppcDatabase.ExportPPCData(site.display);
  return test::ReadFile(site.program.ppcDatabase.ExportFile());
}

/// Returns why an export is refused; empty when it succeeds.
std::string Fault(PpcSite& site) {
  try {
    Export(site);
    return {};
  } catch (const std::exception& fault) {
    return fault.what();
  }
}

TEST(FindPPCPath, PrefersTheValueOfTheDatabase) {
  struct Row {
    const char* name;
    const char* database;
    const char* installation;
    const char* pattern;
  };
  for (const Row& row : {
           Row{"both", "/svc/db/ppc.xml", "/suite", "/svc/db/*.xml"},
           Row{"the database alone", "/svc/db", nullptr, "/svc/db/*.xml"},
           Row{"the installation alone", nullptr, "/suite", "/suite/PPCdb/*.xml"},
           Row{"an empty database", "", "/suite/", "/suite/PPCdb/*.xml"},
           Row{"neither", nullptr, nullptr, ""},
       }) {
    PpcSite site;
    if (row.database != nullptr) site.SetDatabase(row.database);
    if (row.installation != nullptr) site.SetRegistry(SuiteInstallPathKey, "", row.installation);
    site.program.ppcDatabase.FindPPCPath();
    EXPECT_EQ(site.program.ppcDatabase.SearchPattern(), row.pattern) << row.name;
  }
}

TEST(ExportPPCData, KeepsThePatternForTheRun) {
  PpcSite site;
  site.Database("a.xml", "<R><PPCentry>1</PPCentry></R>");
  EXPECT_THAT(Export(site), HasSubstr("<PPCentry>1</PPCentry>"));
  site.SetDatabase("/elsewhere");
  EXPECT_THAT(Export(site), HasSubstr("<PPCentry>1</PPCentry>"));
}

TEST(ExportPPCData, ChangesNothingWithoutAPattern) {
  PpcSite site;
  site.Export("given");
  EXPECT_EQ(Export(site), "given");
}

TEST(ExportPPCData, RemovesAnEarlierExport) {
  PpcSite site;
  site.Export("yesterday's");
  site.SetDatabase("/no/such/folder");
  EXPECT_EQ(Fault(site), "");
  EXPECT_FALSE(fs::exists(site.program.ppcDatabase.ExportFile()));
}

TEST(ExportPPCData, CallsTheLibraryWithBothResultsZero) {
  PpcSite site;
  site.SetDatabase("/dätabase/ppc.xml");
  PpcLibrary library(FIELDPOST_FAKE_PPCDB);
  ModAttachment database(site.files, site.program.paths, site.program.registry, library);
  for (int call = 1; call <= 2; ++call) {
    database.ExportPPCData(site.display);
    EXPECT_EQ(test::ReadFile(site.home / "PPCData.xml"),
              "<?xml version=\"1.0\"?>\r\n<!-- ppcdb.dll -->\r\n<PPCData><ArchiveDate>20040315</ArchiveDate>"
              "<PPCentry><PATTERN>/dätabase/*.xml</PATTERN><RESULTS>0 0</RESULTS></PPCentry></PPCData>")
        << "call " << call;
  }
}

TEST(PpcLibrary, DistinguishesMissingFromUnusable) {
  const test::TempFolder folder;
  const fs::path text = folder.Write("libtext.so", "no library");
  struct Row {
    const char* name;
    fs::path file;
    PpcLibrary::State state;
    const char* problem;
  };
  for (const Row& row : {
           Row{"there", FIELDPOST_FAKE_PPCDB, PpcLibrary::State::Ready, ""},
           Row{"nowhere on the system", "libfieldpost-no-such.so", PpcLibrary::State::Missing, ""},
           Row{"asked for and not there", folder.Path() / "no.so", PpcLibrary::State::Unusable, "no.so"},
           Row{"no library", text, PpcLibrary::State::Unusable, "libtext.so"},
           Row{"without the routine", "libc.so.6", PpcLibrary::State::Unusable, "PPCDBArchive"},
       }) {
    PpcLibrary library(row.file);
    EXPECT_EQ(library.Load(), row.state) << row.name;
    EXPECT_EQ(library.Load(), row.state) << row.name << ", asked again";
    EXPECT_THAT(library.Problem(), HasSubstr(row.problem)) << row.name;
  }
}

TEST(ExportPPCData, FailsWhenTheLibraryIsUnusable) {
  PpcSite site;
  site.Database("a.xml", "<R><PPCentry/></R>");
  PpcLibrary library(site.folder.Path() / "no.so");
  ModAttachment database(site.files, site.program.paths, site.program.registry, library);
  EXPECT_THROW(database.ExportPPCData(site.display), PpcError);
  EXPECT_FALSE(fs::exists(database.ExportFile()));
}

TEST(ExportPpcDatabase, NamesTheMalformedFileAlsoWhenTheUnfinishedExportCannotBeRemoved) {
  PpcSite site;
  site.Database("a.xml", "<R><PPCentry>");
  constexpr int removedBefore = 2;  // an earlier export, and an unfinished one
  const test::FailingCall failing("unlink", EACCES, removedBefore);
  EXPECT_THAT(Fault(site), HasSubstr("a.xml: line 1: the document ends too early"));
  EXPECT_EQ(failing.Failures(), 1);
}

TEST(ExportPpcDatabase, CollectsTheEntriesOfAllFiles) {
  PpcSite site;
  site.Database("b.XML",
                "<?xml version='1.0' encoding='ISO-8859-1'?><R><ArchiveDate>2</ArchiveDate>"
                "<PPCentry>\xE4</PPCentry></R>");
  site.Database("a.xml", "<R xmlns:p='urn:p'><PPCentry>1</PPCentry><ArchiveDate>1</ArchiveDate></R>");
  site.Database("c.txt", "no XML");
  site.folder.Folder("db/d.xml");
  EXPECT_EQ(Export(site),
            std::string(ExportHead) +
                "<PPCentry xmlns:p=\"urn:p\">1</PPCentry>\r\n"
                "<ArchiveDate xmlns:p=\"urn:p\">1</ArchiveDate>\r\n<PPCentry>ä</PPCentry>\r\n</PPCData>\r\n");
  EXPECT_THAT(test::Names(site.home), testing::Not(testing::Contains(testing::EndsWith("-new"))));
}

TEST(ExportPpcDatabase, WritesAnExportWithoutEntries) {
  PpcSite site;
  site.Database("a.xml", "<R/>");
  EXPECT_EQ(Export(site), std::string(ExportHead) + "</PPCData>\r\n");
}

TEST(ExportPpcDatabase, WritesNothingWithoutDatabaseFiles) {
  PpcSite site;
  site.Database("a.txt", "");
  EXPECT_EQ(Fault(site), "");
  EXPECT_FALSE(fs::exists(site.program.ppcDatabase.ExportFile()));
}

TEST(ExportPpcDatabase, NamesTheMalformedFile) {
  PpcSite site;
  site.Database("a.xml", "<R><PPCentry>" + std::string(3000000, 'x') + "</PPCentry></R>");
  const fs::path broken = site.Database("b.xml", "<R>");
  EXPECT_EQ(Fault(site), Utf8FromPath(broken) + ": line 1: the document ends too early");
  EXPECT_FALSE(fs::exists(site.program.ppcDatabase.ExportFile()));
  EXPECT_THAT(test::Names(site.home), testing::Not(testing::Contains(testing::EndsWith("-new"))));
}

TEST(ExportPpcDatabase, IgnoresItsOwnOutput) {
  PpcSite site;
  site.SetDatabase(site.home);
  site.folder.Write("home/other.xml", "<R><PPCentry/></R>");
  const std::string first = Export(site);
  EXPECT_THAT(first, HasSubstr("<PPCentry/>"));
  EXPECT_EQ(Export(site), first);
}

TEST(ExportPpcDatabase, WritesWhatTheExtractionReads) {
  PpcSite site;
  site.Database("a.xml",
                "<R xmlns:p='urn:p'><PPCentry><p:A/></PPCentry><ArchiveDate>1</ArchiveDate><PPCentry/></R>");
  EXPECT_TRUE(site.program.ppcAttachments.MakePPCFilesQuiet(site.display).succeeded);
  EXPECT_EQ(site.Document(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
            "<!-- exported by Fieldpost in place of ppcdb.dll -->\r\n"
            "<PPCentries>\r\n<ArchiveDate xmlns:p=\"urn:p\">1</ArchiveDate>"
            "<PPCentry xmlns:p=\"urn:p\"><p:A/></PPCentry>\r\n<PPCentry xmlns:p=\"urn:p\"/>\r\n"
            "\r\n</PPCentries>");
}

TEST(ExportPpcDatabase, LogsAFaultOnce) {
  PpcSite site;
  site.Database("a.xml", "<R>");
  EXPECT_FALSE(site.program.ppcAttachments.MakePPCFilesQuiet(site.display).succeeded);
  EXPECT_THAT(site.Log(), testing::ElementsAre(
                              testing::AllOf(StartsWith("[Error]:PPC Error ("), HasSubstr("a.xml: line 1"))));
  EXPECT_THAT(test::Names(site.Temp()), IsEmpty());
}

}  // namespace
}  // namespace fieldpost
