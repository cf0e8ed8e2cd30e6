#include "viewer/XmlTree.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstring>

#include "support/ProcessorTime.h"
#include "support/TempFolder.h"
#include "viewer/XmlTreeReader.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Reads a text like a file, in pieces of a given size; may fail at its end.
class TextFile final : public FileReader {
 public:
  explicit TextFile(std::string text, std::size_t pieceBytes = 65536, bool breaks = false)
      : text_(std::move(text)), pieceBytes_(pieceBytes), breaks_(breaks) {}

  std::size_t Read(std::span<char> buffer) override {
    const std::size_t count = std::min({buffer.size(), pieceBytes_, text_.size() - at_});
    if (count == 0 && breaks_) throw FileError("cannot read", "x.xml", "the disk is gone");
    std::memcpy(buffer.data(), text_.data() + at_, count);
    at_ += count;
    return count;
  }

 private:
  std::string text_;
  std::size_t at_ = 0;
  std::size_t pieceBytes_;
  bool breaks_;
};

using State = XmlTreeReader::State;

/// Reads until the state is another, and returns the last slice.
XmlTreeReader::Slice Rest(XmlTreeReader& reader) {
  XmlTreeReader::Slice slice;
  while (slice.state == State::Reading) slice = reader.ReadSlice();
  return slice;
}

bool Read(XmlTree& tree, std::unique_ptr<FileReader> file) {
  XmlTreeReader reader(tree, std::move(file));
  return Rest(reader).state == State::Done;
}

bool Read(XmlTree& tree, std::string text) {
  return Read(tree, std::make_unique<TextFile>(std::move(text)));
}

/// The labels, each with a dot before it for each level.
std::vector<std::string> Labels(const XmlTree& tree) {
  std::vector<std::string> labels;
  for (XmlTree::Node node = 0; node < tree.Size(); ++node) {
    labels.push_back(std::string(tree.Level(node), '.') + tree.Label(node));
  }
  return labels;
}

std::vector<std::string> LabelsOf(std::string text) {
  XmlTree tree;
  if (!Read(tree, std::move(text))) return {"failed"};
  return Labels(tree);
}

TEST(XmlTree, BuildsLabelsFromNamesAttributesAndTexts) {
  struct Row {
    const char* what;
    std::string xml;
    std::string label;
  };
  for (const Row& row : {
           Row{"neither", "<fault/>", "fault"},
           Row{"attributes", R"(<fault id="7" type="x"/>)", R"(fault:  ID="7" TYPE="x" )"},
           Row{"text", "<fault>abc</fault>", "fault:  abc"},
           Row{"both", R"(<fault id="7" type="x">abc</fault>)", R"(fault:  ID="7" TYPE="x" :  abc)"},
           Row{"names keep their case, attributes' names do not", "<FaultLog nO='1'/>",
               R"(FaultLog:  NO="1" )"},
           Row{"only ASCII letters have a case", "<a \xC3\xA4x='\xC3\xA4'/>", "a:  \xC3\xA4X=\"\xC3\xA4\" "},
           Row{"an empty value", "<a b=''/>", R"(a:  B="" )"},
           Row{"quotes in a value", "<a b='\"'/>", "a:  B=\"\"\" "},
           Row{"white space at both ends", "<a>\r\n \tx  y \n</a>", "a:  x  y"},
           Row{"white space only", "<a> \n </a>", "a"},
           Row{"white space that the file keeps", "<a xml:space='preserve'> \n </a>",
               "a:  XML:SPACE=\"preserve\" :   \n "},
           Row{"entities", "<a b='&lt;&#x41;&amp;'>&gt;&#66;&quot;</a>", R"(a:  B="<A&" :  >B")"},
           Row{"entities of the file's own",
               "<!DOCTYPE a [<!ENTITY e 'x &#38;amp; y'>]><a b='&e;'>&e;&e;</a>",
               R"(a:  B="x & y" :  x & yx & y)"},
           Row{"CDATA is a text of its own", "<a>x<![CDATA[<y>]]>z</a>", "a:  x:  <y>:  z"},
           Row{"a comment ends a text", "<a>x<!-- no -->y</a>", "a:  x:  y"},
           Row{"an instruction ends a text", "<a>x<?no no?>y</a>", "a:  x:  y"},
           Row{"prefixes stay", "<p:a xmlns:p='urn:x' p:b='1'/>", R"(p:a:  XMLNS:P="urn:x" P:B="1" )"},
           Row{"namespaces stay in their place", "<a b='1' xmlns='urn:x' c='2'/>",
               R"(a:  B="1" XMLNS="urn:x" C="2" )"},
           Row{"default values", "<!DOCTYPE a [<!ATTLIST a b CDATA 'x' c CDATA 'y'>]><a c='1'/>",
               R"(a:  C="1" B="x" )"},
           Row{"Latin-1", "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE4</a>", "a:  \xC3\xA4"},
           Row{"a mark before it", "\xEF\xBB\xBF<a>\xC3\xA4</a>", "a:  \xC3\xA4"},
           Row{"UTF-16", std::string("\xFF\xFE<\0a\0>\0\xE4\0<\0/\0a\0>\0", 18), "a:  \xC3\xA4"},
       }) {
    EXPECT_THAT(LabelsOf(row.xml), ElementsAre(row.label)) << row.what;
  }
}

TEST(XmlTree, SeparatesTextsAroundAChild) {
  EXPECT_THAT(LabelsOf("<a>one<b/>two</a>"), ElementsAre("a:  one:  two", ".b"));
  EXPECT_THAT(LabelsOf("<a><b>x<c/>y<d/>z</b> </a>"), ElementsAre("a", ".b:  x:  y:  z", "..c", "..d"));
}

TEST(XmlTree, MakesEveryElementANode) {
  EXPECT_THAT(LabelsOf("<FLFILE><sympcode>1</sympcode><sympcode no='2'/></FLFILE>"),
              ElementsAre("FLFILE", ".sympcode:  1", ".sympcode:  NO=\"2\" "));
}

TEST(XmlTree, IgnoresCommentsInstructionsAndTextOutsideTheRoot) {
  EXPECT_THAT(LabelsOf("<?xml version='1.0'?>\n<!-- x --><?y?>\n<a><!-- x --><?y?></a>\n<!-- z -->"),
              ElementsAre("a"));
}

TEST(XmlTree, AddsTheElementsOfAnEntityForEachReference) {
  EXPECT_THAT(LabelsOf("<!DOCTYPE a [<!ENTITY e '<b>x</b>'>]><a>&e;y&e;</a>"),
              ElementsAre("a:  y", ".b:  x", ".b:  x"));
}

TEST(XmlTree, ReadsDeclarationsFromAParameterEntity) {
  EXPECT_THAT(LabelsOf("<!DOCTYPE a [<!ENTITY % p '<!ENTITY e \"x\">'>%p;]><a>&e;</a>"),
              ElementsAre("a:  x"));
}

TEST(XmlTree, ReportsHowMuchOfTheFileIsRead) {
  const std::string text = "<a>" + std::string(20'000, 'x') + "</a>";
  XmlTree tree;
  XmlTreeReader reader(tree, std::make_unique<TextFile>(text));
  std::uint64_t before = 0;
  while (reader.ReadSlice().state == State::Reading) {
    EXPECT_GT(reader.BytesRead(), before);
    before = reader.BytesRead();
  }
  EXPECT_EQ(reader.BytesRead(), text.size());
  EXPECT_EQ(reader.ReadSlice().state, State::Done) << "nothing more comes";
}

TEST(XmlTree, KeysCountFromOne) {
  EXPECT_EQ(XmlTree::Key(0), "Node-1");
  EXPECT_EQ(XmlTree::Key(32767), "Node-32768");
  EXPECT_EQ(XmlTree::Key(999'999), "Node-1000000");
}

TEST(XmlTree, IsEmptyAfterClear) {
  XmlTree tree;
  ASSERT_TRUE(Read(tree, "<a><b/>text</a>"));
  tree.Clear();
  EXPECT_EQ(tree.Size(), 0U);
  ASSERT_TRUE(Read(tree, "<c/>"));
  EXPECT_THAT(Labels(tree), ElementsAre("c"));
  EXPECT_EQ(XmlTree::Key(0), "Node-1");
}

TEST(XmlTree, ReturnsParentsSiblingsAndEnds) {
  XmlTree tree;
  ASSERT_TRUE(Read(tree, "<a><b><c/><d/></b><e/></a>"));
  struct Row {
    XmlTree::Node parent, next, end;
    bool hasChildren;
  };
  constexpr XmlTree::Node none = XmlTree::None;
  const std::vector<Row> rows = {
      {none, none, 5, true}, {0, 4, 4, true}, {1, 3, 3, false}, {1, none, 4, false}, {0, none, 5, false}};
  ASSERT_EQ(tree.Size(), rows.size());
  for (XmlTree::Node node = 0; node < rows.size(); ++node) {
    EXPECT_EQ(tree.Parent(node), rows[node].parent) << node;
    EXPECT_EQ(tree.NextSibling(node), rows[node].next) << node;
    EXPECT_EQ(tree.End(node), rows[node].end) << node;
    EXPECT_EQ(tree.HasChildren(node), rows[node].hasChildren) << node;
  }
}

TEST(XmlTree, CanBeReadWhileItGrows) {
  XmlTree tree;
  tree.Open("a");
  tree.Open("b");
  EXPECT_EQ(tree.End(0), 2U);
  EXPECT_TRUE(tree.HasChildren(0));
  EXPECT_FALSE(tree.HasChildren(1));
  EXPECT_EQ(tree.NextSibling(1), XmlTree::None);
  tree.Close();
  tree.Open("c");
  EXPECT_EQ(tree.NextSibling(1), 2U);
}

TEST(XmlTree, RefusesAFileThatIsNotWellFormed) {
  struct Row {
    const char* what;
    std::string text;
  };
  const std::string many(200'000, 'x');
  for (const Row& row : {
           Row{"nothing", ""},
           Row{"no XML", "hello"},
           Row{"a wrong end, late", "<a><b>" + many + "</b><b/></c>"},
           Row{"cut off", "<a><b>" + many},
           Row{"two roots", "<a/><b/>"},
           Row{"text after the root", "<a/>x"},
           Row{"an undeclared entity", "<a>&x;</a>"},
           Row{"an undeclared entity in a value", "<a b='&x;'/>"},
           Row{"an undeclared entity beside an external document type",
               "<!DOCTYPE a SYSTEM 'x.dtd'><a>&x;</a>"},
           Row{"a file as an entity", "<!DOCTYPE a [<!ENTITY x SYSTEM '/etc/hostname'>]><a>&x;</a>"},
           Row{"an attribute twice", "<a b='1' b='2'/>"},
           Row{"an undeclared prefix", "<p:a/>"},
           Row{"an undeclared prefix of an attribute", "<a p:b=''/>"},
           Row{"a prefix declared elsewhere", "<a><b xmlns:p='urn:x'/><p:c/></a>"},
           Row{"two colons", "<a xmlns:p='urn:x'><p:b:c/></a>"},
           Row{"a prefix for nothing", "<a xmlns:p=''/>"},
           Row{"bytes that are no UTF-8", "<a>\xE4 </a>"},
           Row{"an encoding that nobody knows", "<?xml version='1.0' encoding='x-none'?><a/>"},
       }) {
    XmlTree tree;
    EXPECT_FALSE(Read(tree, row.text)) << row.what;
  }
}

TEST(XmlTree, DistinguishesAnUnreadableFileFromAMalformedOne) {
  struct Row {
    const char* what;
    bool breaks;
    State state;
    std::string problem;
  };
  for (const Row& row : {Row{"well-formed", false, State::Done, ""},
                         Row{"malformed", false, State::Malformed, "not well-formed"},
                         Row{"unreadable", true, State::Unreadable, "cannot read x.xml: the disk is gone"}}) {
    const std::string text = row.state == State::Done ? "<a/>" : "<a></b>";
    XmlTree tree;
    XmlTreeReader reader(tree, std::make_unique<TextFile>(row.breaks ? "<a>" : text, 4, row.breaks));
    for (int i = 0; i < 2; ++i) {
      const XmlTreeReader::Slice slice = Rest(reader);
      EXPECT_EQ(slice.state, row.state) << row.what;
      EXPECT_EQ(slice.problem, row.problem) << row.what;
    }
  }
}

TEST(XmlTree, HoldsWhatWasReadBeforeTheFileEnds) {
  std::string text = "<a>";
  for (int i = 0; i < 100'000; ++i) text += "<b/>";
  XmlTree tree;
  XmlTreeReader reader(tree, std::make_unique<TextFile>(text + "</c>"));
  EXPECT_EQ(reader.ReadSlice().state, State::Reading);
  EXPECT_GT(tree.Size(), 1'000U);
  EXPECT_EQ(Rest(reader).state, State::Malformed);
  EXPECT_EQ(tree.Size(), 100'001U) << "its owner clears it";
}

TEST(XmlTree, ReturnsPartsOfALabel) {
  XmlTree tree;
  ASSERT_TRUE(Read(tree, "<a>one<b/>two<b/>three</a>"));
  const std::string label = "a:  one:  two:  three";
  ASSERT_EQ(tree.Label(0), label);
  for (std::size_t from = 0; from <= label.size() + 1; ++from) {
    for (std::size_t bytes = 0; bytes <= label.size() + 1; ++bytes) {
      EXPECT_EQ(tree.LabelPart(0, from, bytes), label.substr(std::min(from, label.size()), bytes));
    }
  }
}

TEST(XmlTree, KeepsLongTextsWhole) {
  std::string words;
  while (words.size() < 3'000'000) words += "word  <x/>\n";
  std::string expected = "a";
  for (std::size_t i = 0; i < words.size(); i += 11) expected += ":  word";
  XmlTree tree;
  ASSERT_TRUE(Read(tree, "<a>" + words + "</a>"));
  EXPECT_EQ(tree.LabelBytes(0), expected.size());
  EXPECT_EQ(tree.Label(0), expected);
  EXPECT_EQ(tree.Label(0, 10), "a:  word: ");
  const std::string one = std::string(1'500'000, 'x') + "   " + std::string(1'500'000, 'y');
  tree.Clear();
  ASSERT_TRUE(Read(tree, "<a>" + one + "  </a>"));
  EXPECT_EQ(tree.Label(0), "a:  " + one);
}

/// Seconds that reading takes; the tree is what was read.
double SecondsToRead(XmlTree& tree, const std::string& text) {
  const double begin = test::ProcessorSeconds();
  EXPECT_TRUE(Read(tree, text));
  return test::ProcessorSeconds() - begin;
}

std::string Nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<n" + std::to_string(i) + " xmlns:p" + std::to_string(i) + "='u'>";
  for (int i = depth; i-- > 0;) text += "</n" + std::to_string(i) + ">";
  return text;
}

TEST(XmlTree, ReadsDeepDocumentsInLinearTime) {
  XmlTree tree;
  const double seconds = SecondsToRead(tree, Nested(100'000));
  EXPECT_EQ(tree.Size(), 100'000U);
  EXPECT_EQ(tree.Level(99'999), 99'999U);
  EXPECT_EQ(tree.End(0), 100'000U);
  EXPECT_LT(seconds, 5);
  std::cout << "100,000 levels: " << seconds << " s\n";
}

TEST(XmlTree, ReadsAMillionElementsInLittleMemory) {
  std::string text = "<a>";
  for (int i = 0; i < 1'000'000; ++i) text += "<FAULT No=\"1\">text</FAULT>";
  XmlTree tree;
  const double seconds = SecondsToRead(tree, text + "</a>");
  EXPECT_EQ(tree.Size(), 1'000'001U);
  const double bytes = static_cast<double>(tree.MemoryBytes()) / tree.Size();
  EXPECT_LT(bytes, 24 + 23 + 2);
  std::cout << "1,000,000 elements: " << seconds << " s, " << bytes << " bytes each, labels of 23\n";
}

/// The label of an element with this number of children, each between two texts, is read in parts.
double SecondsToReadALabelOfTexts(int children) {
  XmlTree tree;
  tree.Open("a");
  for (int i = 0; i < children; ++i) {
    tree.Open("b");
    tree.Close();
    tree.AppendToLabel(":  t");
  }
  constexpr std::size_t partBytes = 1'000;
  const double begin = test::ProcessorSeconds();
  std::size_t bytes = 0;
  while (bytes < tree.LabelBytes(0)) bytes += tree.LabelPart(0, bytes, partBytes).size();
  const double seconds = test::ProcessorSeconds() - begin;
  EXPECT_EQ(bytes, 1 + 4U * static_cast<std::size_t>(children));
  return seconds;
}

TEST(XmlTree, ReturnsPartsOfALabelOfManyTextsInLinearTime) {
  const auto best = [](int children) {
    double least = SecondsToReadALabelOfTexts(children);
    for (int i = 0; i < 2; ++i) least = std::min(least, SecondsToReadALabelOfTexts(children));
    return least;
  };
  const double small = best(100'000);
  EXPECT_LT(best(400'000), 8 * small + 0.05) << "16 times as long if it grew with the square";
}

TEST(XmlTree, RefusesEntityBombs) {
  std::string type = "<!DOCTYPE a [<!ENTITY e0 'xxxxxxxxxx'>";
  for (int i = 1; i < 12; ++i) {
    const std::string below = fmt::format("&e{};", i - 1);
    type += fmt::format("<!ENTITY e{} '{}'>", i, fmt::join(std::vector<std::string>(10, below), ""));
  }
  type += "]>";
  for (const char* use : {"<a>&e11;</a>", "<a b='&e11;'/>"}) {
    XmlTree tree;
    EXPECT_FALSE(Read(tree, type + use)) << use;
  }
  EXPECT_THAT(LabelsOf(type + "<a>&e1;</a>"), ElementsAre("a:  " + std::string(100, 'x')));
  EXPECT_THAT(LabelsOf("<!DOCTYPE a [<!ENTITY e '&e;'>]><a>&e;</a>"), ElementsAre("failed"));
}

TEST(XmlTree, LimitsWhatEntitiesAndDefaultsAdd) {
  const std::string long100k(100'000, 'x');
  const auto uses = [](std::string_view use, int count) {
    std::string text = "<a>";
    for (int i = 0; i < count; ++i) text += use;
    return text + "</a>";
  };
  const std::string entity = "<!DOCTYPE a [<!ENTITY e '" + long100k + "'>]>";
  EXPECT_EQ(LabelsOf(entity + uses("&e;", 50)).front().size(), 4 + 50 * long100k.size());
  EXPECT_THAT(LabelsOf(entity + uses("&e;", 170)), ElementsAre("failed"));
  const std::string attribute = "<!DOCTYPE a [<!ATTLIST b c CDATA '" + long100k + "'>]>";
  EXPECT_THAT(LabelsOf(attribute + uses("<b/>", 50)), SizeIs(51));
  EXPECT_THAT(LabelsOf(attribute + uses("<b/>", 170)), ElementsAre("failed"));
}

TEST(XmlTree, RefusesElementsWithTooManyAttributes) {
  const auto element = [](int count) {
    std::string tag = "<!-- " + std::string(150'000, '=') + " --><a";
    for (int i = 0; i < count; ++i) tag += fmt::format(" a{}='='", i);
    return tag + "/>";
  };
  EXPECT_THAT(LabelsOf(element(4'000)), SizeIs(1));
  EXPECT_THAT(LabelsOf(element(1'000'000)), ElementsAre("failed"));
  EXPECT_THAT(LabelsOf("<a b='" + std::string(5'000'000, 'x') + "'/>"),
              ElementsAre("a:  B=\"" + std::string(5'000'000, 'x') + "\" "));
}

}  // namespace
}  // namespace fieldpost
