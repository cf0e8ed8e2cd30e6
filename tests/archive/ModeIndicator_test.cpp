#include "archive/ModeIndicator.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <iostream>

#include "support/PeakMemory.h"
#include "support/RecordingUi.h"
#include "support/TempFolder.h"
#include "xml/XmlDocument.h"

namespace fieldpost {
namespace {

using test::PeakKilobytes;
using testing::Eq;
using testing::Optional;

/// Reads a text like a file, in pieces of a given size.
class Pieces final : public FileReader {
 public:
  Pieces(std::string text, std::size_t size) : text_(std::move(text)), size_(size) {}

  std::size_t Read(std::span<char> buffer) override {
    const std::size_t count = std::min({buffer.size(), size_, text_.size() - at_});
    std::memcpy(buffer.data(), text_.data() + at_, count);
    at_ += count;
    return count;
  }

 private:
  std::string text_;
  std::size_t size_;
  std::size_t at_ = 0;
};

/// Reads like a file: a beginning, a block repeated, and an end.
class Repeated final : public FileReader {
 public:
  Repeated(std::string beginning, std::string block, std::size_t times, std::string end)
      : block_(std::move(block)), end_(std::move(end)), now_(std::move(beginning)), left_(times + 1) {}

  std::size_t Read(std::span<char> buffer) override {
    if (at_ == now_.size()) Next();
    const std::size_t count = std::min(buffer.size(), now_.size() - at_);
    std::memcpy(buffer.data(), now_.data() + at_, count);
    at_ += count;
    return count;
  }

 private:
  void Next() {
    at_ = 0;
    now_ = left_ == 0 ? std::string() : left_ == 1 ? end_ : block_;
    if (left_ > 0) --left_;
  }

  std::string block_;
  std::string end_;
  std::string now_;
  std::size_t at_ = 0;
  std::size_t left_;
};

std::optional<std::string> Read(const std::string& xml, std::size_t pieces = 1'000'000) {
  StatusDisplay display;
  Pieces file(xml, pieces);
  return ModeIndicatorReader().Read(file, display);
}

std::string InFlFile(const std::string& inside) {
  return "<?xml version=\"1.0\"?>\n<FLFILE><PRODCODE>4711</PRODCODE>" + inside + "</FLFILE>";
}

TEST(ModeWord, ReturnsTheWordOfALetterInEitherCase) {
  struct Row {
    std::optional<std::string> text;
    const char* word;
  };
  for (const Row& row :
       {Row{"a", "Archive"}, Row{"A", "Archive"}, Row{"p", "Process"}, Row{"P", "Process"},
        Row{"", "Partial"}, Row{"e", "Error"}, Row{"r", "Recect"}, Row{"F", "Fault logged"}, Row{"x", ""},
        Row{"aa", ""}, Row{"ä", ""}, Row{std::nullopt, "Mode indicator not found!"}}) {
    EXPECT_EQ(ModeWord(row.text), row.word) << row.text.value_or("none");
  }
}

TEST(ModeIndicator, IsTheTextOfTheFirstMODEIND) {
  struct Row {
    const char* name;
    std::string xml;
    std::optional<std::string> text;
  };
  for (const Row& row : {
           Row{"one", InFlFile("<MODEIND>P</MODEIND>"), "P"},
           Row{"the first of two", InFlFile("<MODEIND>a</MODEIND><MODEIND>P</MODEIND>"), "a"},
           Row{"an empty first", InFlFile("<MODEIND/><MODEIND>P</MODEIND>"), ""},
           Row{"blanks alone", InFlFile("<MODEIND> \r\n\t </MODEIND>"), ""},
           Row{"blanks round it", InFlFile("<MODEIND>\n  p \t</MODEIND>"), "p"},
           Row{"blanks inside", InFlFile("<MODEIND> a  b </MODEIND>"), "a  b"},
           Row{"elements in it", InFlFile("<MODEIND>a<B>b<C/></B><MODEIND>c</MODEIND>d</MODEIND>"), "abcd"},
           Row{"a section", InFlFile("<MODEIND> <![CDATA[p]]> </MODEIND>"), "p"},
           Row{"comments", InFlFile("<MODEIND><!-- x -->p<?y z?></MODEIND>"), "p"},
           Row{"a character reference", InFlFile("<MODEIND>&#80;</MODEIND>"), "P"},
           Row{"a built-in entity", InFlFile("<MODEIND>&lt;&amp;</MODEIND>"), "<&"},
           Row{"an entity of the file",
               "<!DOCTYPE F [<!ENTITY p \"P\">]><F><A>&p;</A><MODEIND>&p;&p;</MODEIND></F>", "PP"},
           Row{"an entity with elements",
               "<!DOCTYPE F [<!ENTITY m \"<MODEIND>P</MODEIND>\">]><F>&m;<MODEIND>a</MODEIND></F>", "P"},
           Row{"the root", "<MODEIND>e</MODEIND>", "e"},
           Row{"a default namespace", "<F xmlns=\"urn:x\"><MODEIND>e</MODEIND></F>", "e"},
           Row{"a prefix", "<F xmlns:x=\"urn:x\"><x:MODEIND>e</x:MODEIND></F>", std::nullopt},
           Row{"another case", InFlFile("<modeind>p</modeind>"), std::nullopt},
           Row{"none", InFlFile(""), std::nullopt},
           Row{"in a comment", InFlFile("<!-- <MODEIND>P</MODEIND> -->"), std::nullopt},
       }) {
    EXPECT_EQ(Read(row.xml), row.text) << row.name;
    EXPECT_EQ(Read(row.xml, 1), row.text) << row.name << ", byte by byte";
  }
}

TEST(ModeIndicator, IsMissingWhenTheFileIsNotWellFormed) {
  const std::string mode = "<MODEIND>P</MODEIND>";
  for (const std::string& xml :
       {std::string(), std::string("text"), "<F>" + mode, "<F>" + mode + "</F>x", "<F>" + mode + "</F><F/>",
        "<F>" + mode + "<A></F>", "<F>" + mode + "&none;</F>", "<F>" + mode + "<x:A/></F>",
        "<F a=\"1\" a=\"2\">" + mode + "</F>", "<F>" + mode + "\x01</F>", "<F>" + mode + "\xFF</F>"}) {
    EXPECT_EQ(Read(xml), std::nullopt) << xml;
    EXPECT_EQ(Read(xml, 1), std::nullopt) << xml << ", byte by byte";
  }
}

TEST(ModeIndicator, IsReadInTheEncodingThatTheFileDeclares) {
  const std::string latin = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<F><MODEIND>\xE4</MODEIND></F>";
  EXPECT_THAT(Read(latin), Optional(Eq("ä")));
  EXPECT_THAT(Read(latin, 1), Optional(Eq("ä")));
  EXPECT_THAT(Read("<?xml version=\"1.0\" encoding=\"windows-1252\"?><F><MODEIND>\x80</MODEIND></F>"),
              Optional(Eq("€")));
  EXPECT_THAT(Read("\xEF\xBB\xBF<F><MODEIND>p</MODEIND></F>"), Optional(Eq("p")));
  std::string wide = "\xFF\xFE";
  for (const char c : std::string("<?xml version=\"1.0\" encoding=\"UTF-16\"?><F><MODEIND>p</MODEIND></F>")) {
    wide += {c, '\0'};
  }
  EXPECT_THAT(Read(wide), Optional(Eq("p")));
  EXPECT_THAT(Read(wide, 3), Optional(Eq("p")));
}

TEST(ModeIndicator, AgreesWithXmlDocument) {
  for (const std::string& xml :
       {InFlFile("<MODEIND>P</MODEIND>"), InFlFile("<MODEIND> <A> x </A> </MODEIND>"),
        std::string("<!DOCTYPE F SYSTEM \"none.dtd\"><F><MODEIND>P</MODEIND>&x;</F>"),
        std::string("<!DOCTYPE F [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><F>&x;<MODEIND>P</MODEIND></F>"),
        std::string("<!DOCTYPE F [<!ENTITY x \"&x;\">]><F>&x;<MODEIND>P</MODEIND></F>")}) {
    XmlDocument document;
    std::optional<std::string> expected;
    if (document.Load(xml)) expected = document.ElementsByTagName("MODEIND").front().Text();
    EXPECT_EQ(Read(xml), expected) << xml;
    EXPECT_EQ(Read(xml, 1), expected) << xml << ", byte by byte";
  }
}

TEST(ModeIndicator, OpensNothingOutsideTheFile) {
  const test::TempFolder folder;
  const std::string other = Utf8FromPath(folder.Write("other", "P"));
  EXPECT_EQ(Read("<!DOCTYPE F [<!ENTITY x SYSTEM \"" + other + "\">]><F><MODEIND>&x;</MODEIND></F>"),
            std::nullopt);
}

TEST(ModeIndicator, IsCutWhenLongButNeverToALetter) {
  const std::string blanks(5000, ' ');
  EXPECT_THAT(Read(InFlFile("<MODEIND>" + blanks + "p" + blanks + "</MODEIND>")), Optional(Eq("p")));
  EXPECT_EQ(ModeWord(Read(InFlFile("<MODEIND>p" + blanks + "x" + blanks + "</MODEIND>"))), "");
  EXPECT_LT(Read(InFlFile("<MODEIND>" + std::string(2'000'000, 'p') + "</MODEIND>"))->size(), 1010U);
}

TEST(ModeIndicator, LimitsTheExpandedSizeOfEntities) {
  std::string laughs = "<!DOCTYPE F [<!ENTITY a0 \"ha\">";
  for (int i = 1; i < 40; ++i) {
    const std::string before = "&a" + std::to_string(i - 1) + ";";
    laughs += "<!ENTITY a" + std::to_string(i) + " \"" + before + before + "\">";
  }
  EXPECT_EQ(Read(laughs + "]><F><MODEIND>P</MODEIND>&a39;</F>"), std::nullopt);

  std::string square =
      "<!DOCTYPE F [<!ENTITY a \"" + std::string(200'000, 'x') + "\">]><F><MODEIND>P</MODEIND>";
  for (int i = 0; i < 50'000; ++i) square += "&a;";
  EXPECT_EQ(Read(square + "</F>"), std::nullopt);
}

TEST(ModeIndicator, RefusesHostileFilesInTime) {
  std::string names = "<F><MODEIND>P</MODEIND>";
  for (int i = 0; i < 200'000; ++i) names += "<a" + std::to_string(i) + "/>";
  EXPECT_EQ(Read(names + "</F>"), std::nullopt);

  std::string attributes;
  for (int i = 0; i < 100'000; ++i) attributes += " a" + std::to_string(i) + "=''";
  EXPECT_EQ(Read("<F" + attributes + "><MODEIND>P</MODEIND></F>"), std::nullopt);

  std::string deep;
  for (int i = 0; i < 100'000; ++i) deep += "<A>";
  EXPECT_EQ(Read("<F><MODEIND>P</MODEIND>" + deep), std::nullopt);
}

/// No kind of content takes memory that grows with the file.
TEST(ModeIndicator, ReadsALargeFileInTheMemoryOfASmallOne) {
  const std::string text(100'000, 'x');
  for (const std::string& block :
       {"<DUMP>" + text + "</DUMP>", "<DUMP><![CDATA[" + text + "]]></DUMP>", "<!--" + text + "-->", text}) {
    StatusDisplay display;
    Repeated small("<F><MODEIND>P</MODEIND>", block, 20, "</F>");
    ASSERT_THAT(ModeIndicatorReader().Read(small, display), Optional(Eq("P")));
    const long before = PeakKilobytes();
    ASSERT_GT(before, 100) << "the text itself";
    Repeated large("<F>", block, 1000, "</F>");
    EXPECT_EQ(ModeIndicatorReader().Read(large, display), std::nullopt);
    const long grown = PeakKilobytes() - before;
    std::cout << "100 MB of " << block.substr(0, 6) << "...: " << grown << " KB more than 2 MB of it\n";
    EXPECT_LT(grown, 2048) << block.substr(0, 15);
  }
}

/// The parser keeps a section in memory, up to its limit of 10 MB.
TEST(ModeIndicator, LimitsTheLengthOfACdataSection) {
  const std::string text(100'000, 'x');
  StatusDisplay display;
  Repeated long8("<F><MODEIND>P</MODEIND><![CDATA[", text, 80, "]]></F>");
  EXPECT_THAT(ModeIndicatorReader().Read(long8, display), Optional(Eq("P")));
  const long before = PeakKilobytes();
  Repeated long1000("<F><MODEIND>P</MODEIND><![CDATA[", text, 10'000, "]]></F>");
  EXPECT_EQ(ModeIndicatorReader().Read(long1000, display), std::nullopt);
  EXPECT_LT(PeakKilobytes() - before, 32 * 1024);
}

TEST(ModeIndicator, LimitsTheLengthOfATag) {
  const std::string signs(1'000'000, '=');
  const std::string text(9'000'000, 'x');
  EXPECT_THAT(Read("<F a='" + text + "'><MODEIND>P</MODEIND></F>"), Optional(Eq("P")));
  EXPECT_THAT(Read("<F><?note " + signs + "?><MODEIND>P</MODEIND></F>"), Optional(Eq("P")));
  EXPECT_EQ(Read("<F a='" + text + text + "'><MODEIND>P</MODEIND></F>"), std::nullopt);
}

TEST(ModeIndicator, ProcessesEventsAndEndsWhenCancelled) {
  test::RecordingDisplay display;
  Repeated large("<F><MODEIND>P</MODEIND>", std::string(65536, 'x'), 100, "</F>");
  EXPECT_THAT(ModeIndicatorReader().Read(large, display), Optional(Eq("P")));
  EXPECT_GE(display.eventTurns, 99U);

  test::RecordingDisplay stopped;
  stopped.stopAfterTurns = 10;
  Repeated again("<F><MODEIND>P</MODEIND>", std::string(65536, 'x'), 100, "</F>");
  EXPECT_EQ(ModeIndicatorReader().Read(again, stopped), std::nullopt);
  EXPECT_EQ(stopped.eventTurns, 10U);
}

}  // namespace
}  // namespace fieldpost
