#include "outbox/MailSummary.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/TempFolder.h"

namespace fieldpost {
namespace {

std::string SummaryOf(const std::vector<std::size_t>& sizes, bool ppc) {
  const test::TempFolder folder;
  PathList attachments;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    attachments.push_back(folder.Write("file" + std::to_string(i + 1) + ".xml", ""));
    std::filesystem::resize_file(attachments.back(), sizes[i]);
  }
  return BuildMailSummary(DiskFileSystem(), attachments, ppc ? DataKind::Ppc : DataKind::Faultlog);
}

TEST(BuildMailSummary, ListsNamesAndSizes) {
  struct Row {
    const char* name;
    std::vector<std::size_t> sizes;
    bool ppc;
    const char* expected;
  };
  for (const Row& row : {
           Row{"nothing", {}, false, ""},
           Row{"two faultlog documents",
               {20480, 14336},
               false,
               "[Faultlog Files]\r\nTotal=2\r\nFileNumber1=file1.xml\r\nFileNumber2=file2.xml\r\n\r\n"
               "[Faultlog File Size]\r\nTotalFilesize=34.816\r\nFileSize1=20.480\r\nFileSize2=14.336"},
           Row{"one PPC document",
               {999},
               true,
               "[PPC Files]\r\nTotal=1\r\nFileNumber1=file1.xml\r\n\r\n"
               "[PPC File Size]\r\nTotalFilesize=.999\r\nFileSize1=.999"},
           Row{"five bytes",
               {5},
               true,
               "[PPC Files]\r\nTotal=1\r\nFileNumber1=file1.xml\r\n\r\n"
               "[PPC File Size]\r\nTotalFilesize=.  5\r\nFileSize1=.  5"},
           Row{"more than a million",
               {1234567},
               true,
               "[PPC Files]\r\nTotal=1\r\nFileNumber1=file1.xml\r\n\r\n"
               "[PPC File Size]\r\nTotalFilesize=1234.567\r\nFileSize1=1234.567"},
       }) {
    EXPECT_EQ(SummaryOf(row.sizes, row.ppc), row.expected) << row.name;
  }
}

TEST(BuildMailSummary, ThrowsForAMissingFileAndForATotalThatIsTooLarge) {
  const test::TempFolder folder;
  EXPECT_THROW(
      static_cast<void>(BuildMailSummary(DiskFileSystem(), {folder.Path() / "none.xml"}, DataKind::Faultlog)),
      FileError);
  EXPECT_THROW(SummaryOf({2147483647, 1}, false), std::overflow_error);
  EXPECT_NO_THROW(SummaryOf({2147483647}, false));
}

}  // namespace
}  // namespace fieldpost
