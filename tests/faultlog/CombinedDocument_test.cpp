#include "faultlog/CombinedDocument.h"

#include <gmock/gmock.h>

#include "common/Text.h"
#include "support/FaultlogXml.h"

namespace fieldpost {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::string_view Empty = "<FLFILE><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></FLFILE>";

/// A combined document, and the documents that it was closed to.
struct Gathering {
  void Append(std::string_view xml, bool isLast = false) {
    FaultloggerFile file;
    EXPECT_TRUE(file.Load(xml)) << file.Reason();
    Keep(combined.AppendToCombinedDocument(&file, isLast));
  }
  void End() { Keep(combined.AppendToCombinedDocument(nullptr, true)); }

  CombinedDocument combined;
  std::vector<std::string> documents;

 private:
  void Keep(std::optional<ClosedText> closed) {
    if (!closed) return;
    const DocumentText document = DocumentFromClosedText(std::move(*closed));
    EXPECT_EQ(document.reason, "");
    documents.push_back(document.text);
  }
};

TEST(CombinedDocument, OfOneElementHasThatElementAsItsRoot) {
  Gathering gathering;
  gathering.Append("<FLFILE a='1'><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></FLFILE>");
  EXPECT_TRUE(gathering.documents.empty());
  gathering.End();
  EXPECT_EQ(
      gathering.documents,
      std::vector<std::string>{"<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\" a=\"1\"><PRODCODE/>"
                               "<FAULTLOG><MODEIND/></FAULTLOG></FLFILE>\r\n"});
}

TEST(CombinedDocument, OfOneElementReplacesTheModeOfThatElement) {
  Gathering gathering;
  gathering.Append("<FLFILE Mode='Sent'><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG></FLFILE>");
  gathering.End();
  ASSERT_EQ(gathering.documents.size(), 1U);
  EXPECT_THAT(gathering.documents.front(), HasSubstr("\r\n<FLFILE Mode=\"Not Sent\"><PRODCODE/>"));
}

TEST(DocumentFromClosedText, GivesAnElementACommonRootWhenItsModeCannotBeChanged) {
  std::string tooDeep;
  for (int level = 0; level < 300; ++level) tooDeep = "<a>" + tooDeep + "</a>";
  tooDeep = "<FLFILE Mode='Sent'>" + tooDeep + "</FLFILE>";
  EXPECT_EQ(DocumentFromClosedText({.text = tooDeep, .elementCount = 1}).text,
            "<?xml version=\"1.0\"?>\r\n<FLFILES Mode=\"Not Sent\">\r\n" + tooDeep + "\r\n</FLFILES>\r\n");
}

TEST(CombinedDocument, OfSeveralElementsHasACommonRootOnItsSecondLine) {
  Gathering gathering;
  gathering.Append(Empty);
  gathering.Append(Empty);
  gathering.End();
  const std::string xml(Empty);
  EXPECT_EQ(gathering.documents,
            std::vector<std::string>{"<?xml version=\"1.0\"?>\r\n<FLFILES Mode=\"Not Sent\">\r\n" + xml +
                                     "\r\n" + xml + "\r\n</FLFILES>\r\n"});
}

TEST(CombinedDocument, IsNotClosedWithoutAFile) {
  Gathering gathering;
  gathering.End();
  EXPECT_TRUE(gathering.documents.empty());
}

TEST(CombinedDocument, IsClosedByTheFileThatExceedsTheLimit) {
  // Each text is the two characters of a line break and an element; the wrapper's opening tag comes first.
  const std::string frame = "<FLFILE><PRODCODE/><FAULTLOG><MODEIND/></FAULTLOG><T></T></FLFILE>";
  const std::size_t wrapper = std::string("<TempElement>").size();
  struct Row {
    const char* name;
    std::size_t length;     ///< of the builder's text after the first file
    std::size_t documents;  ///< closed by then
  };
  for (const Row& row : {Row{"at the limit", 1300000, 0}, Row{"one beyond", 1300001, 1}}) {
    Gathering gathering;
    std::string text;
    const std::size_t characters = row.length - wrapper - 2 - frame.size();
    for (std::size_t i = 0; i < characters; ++i) text += "ä";
    gathering.Append(Replaced(frame, "<T>", "<T>" + text));
    EXPECT_EQ(gathering.documents.size(), row.documents) << row.name;
    gathering.Append(frame);
    gathering.End();
    EXPECT_EQ(gathering.documents.size(), row.documents + 1) << row.name;
  }
}

TEST(CombinedDocument, IgnoresAFileThatComesWithTheEnd) {
  Gathering gathering;
  gathering.Append(test::FaultlogXml("FIRST"));
  gathering.Append(test::FaultlogXml("LAST"), true);
  ASSERT_EQ(gathering.documents.size(), 1U);
  EXPECT_THAT(gathering.documents.front(), HasSubstr("FIRST"));
  EXPECT_THAT(gathering.documents.front(), Not(HasSubstr("LAST")));
}

TEST(DocumentFromClosedText, MakesADocumentOfATextThatNoBuilderMade) {
  struct Row {
    const char* name;
    const char* text;
    const char* document;
  };
  for (const Row& row : {
           Row{"without a wrapper", "<FLFILE><A/></FLFILE>",
               "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"><A/></FLFILE>\r\n"},
           Row{"of several elements", "<TempElement>\r\n<FLFILE/>\r\n<FLFILE/></TempElement>",
               "<?xml version=\"1.0\"?>\r\n<FLFILES Mode=\"Not "
               "Sent\">\r\n<FLFILE/>\r\n<FLFILE/>\r\n</FLFILES>\r\n"},
           Row{"of a short name", "<TempElement><a b='1'/></TempElement>",
               "<?xml version=\"1.0\"?>\r\n<a Mode=\"Not Sent\" b='1'/>\r\n"},
           Row{"with the wrapper's name inside",
               "<TempElement><FLFILE><TempElement>x</TempElement></FLFILE></TempElement>",
               "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not "
               "Sent\"><TempElement>x</TempElement></FLFILE>\r\n"},
       }) {
    const DocumentText document = DocumentFromClosedText({row.text});
    EXPECT_EQ(document.text, row.document) << row.name;
    EXPECT_EQ(document.reason, "") << row.name;
  }
}

TEST(DocumentFromClosedText, SaysWhyATextDoesNotLoad) {
  const DocumentText document = DocumentFromClosedText({"<TempElement><FLFILE><B></TempElement>"});
  EXPECT_EQ(document.text, "");
  EXPECT_NE(document.reason, "");
}

}  // namespace
}  // namespace fieldpost
