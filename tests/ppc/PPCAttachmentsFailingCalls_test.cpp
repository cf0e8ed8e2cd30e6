// The PPC collection when any one system call fails.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <iostream>

#include "support/EachFailingCall.h"
#include "support/Ppc.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;
using test::FailingCall;
using test::PpcSite;
using testing::Contains;
using testing::HasSubstr;

constexpr std::size_t DocumentCount = 2;

/// An export of two documents, of which the first gets its date late.
void WriteExport(const PpcSite& site) {
  const std::string entry = "<PPCentry>" + std::string(1'400'000, 'x') + "</PPCentry>";
  site.Export("<R>" + entry + "<PPCentry/><ArchiveDate>20040315</ArchiveDate></R>");
}

bool Make(PpcSite& site) {
  return site.Keep(site.program.ppcAttachments.MakePPCFilesQuiet(site.display));
}

void ExpectWholeDocuments(const PpcSite& site, const std::string& when) {
  EXPECT_EQ(site.documents.size(), DocumentCount) << when;
  for (const fs::path& document : site.documents) {
    const std::string text = test::ReadFile(document);
    EXPECT_TRUE(text.ends_with("</PPCentries>")) << when << document;
    EXPECT_THAT(text, HasSubstr("<ArchiveDate>20040315</ArchiveDate><PPCentry")) << when;
  }
  for (const std::string& name : test::Names(site.Temp()))
    EXPECT_FALSE(IsTemporaryName(name)) << when << name;
}

TEST(MakePPCFiles, LosesNothingWhicheverCallFails) {
  const std::size_t swept = test::ForEachFailingCall([](std::string_view call, int n) {
    PpcSite site;
    WriteExport(site);
    int failures = 0;
    bool made = false;
    {
      const FailingCall failing(call, EIO, n);
      made = Make(site);
      failures = failing.Failures();
    }
    const std::string when = fmt::format("{} number {} failed", call, n);
    if (!made) {
      EXPECT_THAT(site.Log(), Contains(HasSubstr("Input/output error"))) << when;
      EXPECT_TRUE(fs::exists(site.home / "PPCData.xml")) << when;
      EXPECT_TRUE(Make(site)) << when;
    }
    ExpectWholeDocuments(site, when);
    return failures;
  });
  EXPECT_GT(swept, 20U);
  std::cout << swept << " failing calls swept\n";
}

TEST(MakePPCFiles, NextRunRemovesTemporaryFilesThatCouldNotBeRemoved) {
  PpcSite site;
  WriteExport(site);
  {
    constexpr int firstDocumentStands = 1;
    const FailingCall full("write", ENOSPC, firstDocumentStands);
    const FailingCall stuck("unlink", EACCES, 0, 100);
    EXPECT_FALSE(Make(site));
    EXPECT_GT(stuck.Failures(), 0);
  }
  EXPECT_THAT(site.Log(), Contains(HasSubstr("No space left on device")));
  EXPECT_FALSE(test::Names(site.Temp()).empty());
  EXPECT_TRUE(Make(site));
  ExpectWholeDocuments(site, "after a run that could not clean up");
}

TEST(ZipPPCDocuments, LogsThatAnOlderZipCannotBeReplaced) {
  PpcSite site;
  site.folder.Write("home/Faultlog/PPCTemp/a.xml", "<a/>");
  const FailingCall failing("unlink", EACCES);
  EXPECT_FALSE(site.program.ppcAttachments.ZipPPCDocuments("a.xml", site.display).packed);
  EXPECT_THAT(site.Log(), testing::ElementsAre(HasSubstr("200403151400.zip: Permission denied")));
  EXPECT_EQ(site.prompt.messages.size(), 1U);
}

}  // namespace
}  // namespace fieldpost
