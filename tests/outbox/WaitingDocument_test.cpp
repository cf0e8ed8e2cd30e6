#include "outbox/WaitingDocument.h"
#include "common/Limits.h"

#include <gtest/gtest.h>

#include "outbox/DocumentMode.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

TEST(IsWaitingDocument, SearchesTheFirstLines) {
  const std::string filler(70000, 'x');
  struct Row {
    const char* name;
    std::string text;
    bool waits;
  };
  for (const Row& row : {
           Row{"first line", "<a Mode='Not Sent'/>", true},
           Row{"second line", "<?xml?>\r\n<a Mode=\"NOT SENT\">\r\n", true},
           Row{"fifth line", "1\n2\n3\n4\nnot sent\n6", true},
           Row{"fifth line, which has no end", "1\n2\n3\n4\nnot sent", true},
           Row{"sixth line", "1\n2\n3\n4\n5\nnot sent", false},
           Row{"over the end of a line", "1\n2\n3\n4\nnot\nsent", false},
           Row{"fifth of long lines", filler + "\n\n" + filler + "\n\n" + filler + "not sent", true},
           Row{"sixth of long lines", filler + "\n\n" + filler + "\n\n" + filler + "\nnot sent", false},
           Row{"at the end of a long fifth line", "\n\n\n\n" + filler + "Not Sent\n", true},
           Row{"the fifth line's end where a piece ends", "\n\n\n\n" + std::string(4091, 'x') + "\nnot sent",
               false},
           Row{"sent, whatever an entry says", "<?xml version='1.0'?>\r\n<a Mode='Sent'>\r\n<b>Not Sent</b>",
               false},
           Row{"empty", "", false},
       }) {
    const test::TempFolder folder;
    EXPECT_EQ(IsWaitingDocument(DiskFileSystem(), folder.Write("a.xml", row.text), 5), row.waits) << row.name;
  }
}

TEST(IsWaitingDocument, SearchesNoLineForACountOfZero) {
  const test::TempFolder folder;
  EXPECT_FALSE(IsWaitingDocument(DiskFileSystem(), folder.Write("a.xml", "not sent"), 0));
}

TEST(IsWaitingDocument, SearchesEveryLineByDefault) {
  const test::TempFolder folder;
  EXPECT_TRUE(IsWaitingDocument(DiskFileSystem(), folder.Write("a.xml", "1\n2\n3\n4\n5\n6\nnot sent")));
}

TEST(HashIfWaiting, ReturnsTheHashOfTheWholeDocument) {
  const std::string filler(200'000, 'x');
  for (const std::string& text : {std::string("<a Mode='Not Sent'/>"),
                                  "<a Mode='Not Sent'>" + filler + "</a>", filler + "Not Sent" + filler}) {
    const test::TempFolder folder;
    StatusDisplay display;
    EXPECT_EQ(HashIfWaiting(DiskFileSystem(), folder.Write("a.xml", text), AllLines, display),
              HashContent(text));
  }
}

TEST(HashIfWaiting, ReturnsNothingForADocumentThatDoesNotWait) {
  const test::TempFolder folder;
  StatusDisplay display;
  const std::filesystem::path sent = folder.Write("a.xml", "<a Mode='Sent'><b>Not Sent</b></a>");
  const std::filesystem::path late = folder.Write("b.xml", "1\n2\n3\n4\n5\nnot sent");
  EXPECT_EQ(HashIfWaiting(DiskFileSystem(), sent, AllLines, display), std::nullopt);
  EXPECT_EQ(HashIfWaiting(DiskFileSystem(), late, 5, display), std::nullopt);
}

TEST(HashIfWaiting, RefusesADocumentThatIsTooLarge) {
  const test::TempFolder folder;
  StatusDisplay display;
  const std::filesystem::path document = folder.Write("a.xml", "<a Mode='Not Sent'/>");
  std::filesystem::resize_file(document, MaxDocumentBytes);
  EXPECT_TRUE(HashIfWaiting(DiskFileSystem(), document, AllLines, display).has_value());
  std::filesystem::resize_file(document, MaxDocumentBytes + 1);
  EXPECT_THROW(static_cast<void>(HashIfWaiting(DiskFileSystem(), document, AllLines, display)), FileTooLarge);
}

}  // namespace
}  // namespace fieldpost
