#include "xml/XmlStreamReader.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <functional>
#include <vector>

#include "common/Limits.h"
#include "support/ProcessorTime.h"
#include "xml/XmlDocument.h"

namespace fieldpost {
namespace {

using testing::HasSubstr;

std::string Times(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

std::string Numbered(const std::function<std::string(std::size_t)>& one, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result += one(i);
  return result;
}

std::string Attributes(std::size_t count) {
  return Numbered([](std::size_t i) { return fmt::format(" a{}=\"=\"", i); }, count);
}

std::string Namespaces(std::size_t count) {
  return Numbered([](std::size_t i) { return fmt::format(" xmlns:n{}=\"u\"", i); }, count);
}

std::string Declared(const std::string& declarations, const std::string& content) {
  return "<!DOCTYPE a [" + declarations + "]><a>" + content + "</a>";
}

std::string InUtf16(std::string_view ascii) {
  std::string result = "\xFF\xFE";
  for (const char c : ascii) result.append({c, '\0'});
  return result;
}

/// After this a document is read in several pieces; it looks as if it had a tag of too many attributes.
const std::string LongAndCrowded = "<b>" + Times("x=y ", 20'000) + "</b>";

TEST(XmlStreamReader, AcceptsWhatIsWithinALimitAndNamesTheLimitThatIsExceeded) {
  struct Row {
    const char* name;
    std::function<std::string(std::size_t)> content;
    std::size_t most;
    const char* expected;
  };
  for (const Row& row : {
           Row{"attributes", [](std::size_t n) { return "<b" + Attributes(n) + "/>"; }, MaxXmlAttributes,
               "more than 256 attributes in one tag"},
           Row{"namespaces of one tag", [](std::size_t n) { return "<b" + Namespaces(n) + "/>"; },
               MaxXmlNamespaces, "more than 200 namespaces at a time"},
           Row{"namespaces in force",
               [](std::size_t n) { return "<b" + Namespaces(n - 1) + "><c xmlns='u'/><d xmlns='u'/></b>"; },
               MaxXmlNamespaces, "more than 200 namespaces at a time"},
           Row{"depth", [](std::size_t n) { return Times("<b>", n - 1) + Times("</b>", n - 1); }, MaxXmlDepth,
               "nested deeper than 250 levels"},
           Row{"names",
               [](std::size_t n) {
                 // the parser has some twenty names of its own
                 return Numbered([](std::size_t i) { return fmt::format("<n{}/>", i); }, n - 100) +
                        (n > MaxXmlNames
                             ? Numbered([](std::size_t i) { return fmt::format("<m{}/>", i); }, 100)
                             : "");
               },
               MaxXmlNames, "more than 20000 different names"},
       }) {
    for (const std::string& before : {std::string(), LongAndCrowded}) {
      XmlDocument document;
      EXPECT_TRUE(document.Load("<a>" + before + row.content(row.most) + "</a>"))
          << row.name << ": " << document.Reason();
      EXPECT_FALSE(document.Load("<a>" + before + row.content(row.most + 1) + "</a>")) << row.name;
      EXPECT_THAT(document.Reason(), HasSubstr(row.expected)) << row.name;
    }
  }
}

TEST(XmlStreamReader, CountsNamesWhileItReads) {
  const std::string names = Numbered([](std::size_t i) { return fmt::format("<n{}/>", i); }, MaxXmlNodes + 1);
  XmlDocument document;
  EXPECT_FALSE(document.Load("<a>" + names + "</a>"));
  EXPECT_THAT(document.Reason(), HasSubstr("more than 20000 different names"));
}

TEST(XmlStreamReader, CountsTheNodesOfATree) {
  struct Row {
    const char* name;
    std::string part;
    std::size_t nodes;
  };
  for (const Row& row : {
           Row{"element", "<b/>", 1},
           Row{"text in an element", "<b>x</b>", 2},
           Row{"long text", "<b>" + std::string(5000, 'x') + "</b>", 2},
           Row{"attributes", "<b c='' d='x'/>", 5},
           Row{"comment", "<!---->", 1},
           Row{"instruction", "<?b?>", 1},
           Row{"character data section", "<![CDATA[x]]>", 1},
           Row{"entity of elements", "&e;", 3},
       }) {
    const std::string xml = Declared("<!ENTITY e '<b/><b>x</b>'>", Times(row.part, 100));
    const std::size_t first = row.part == "&e;" ? row.nodes : 0;  // an entity is built once for itself
    XmlDocument document;
    EXPECT_TRUE(document.Load(xml, {.depth = 9, .nodes = 1 + 100 * row.nodes + first}))
        << row.name << ": " << document.Reason();
    EXPECT_FALSE(document.Load(xml, {.depth = 9, .nodes = 100 * row.nodes - 1})) << row.name;
    EXPECT_THAT(document.Reason(), HasSubstr("elements, attributes and texts")) << row.name;
  }
}

TEST(XmlStreamReader, LimitsDeclarationsAndEntities) {
  struct Row {
    const char* name;
    std::string xml;
    const char* expected;
  };
  const std::string attributes = Attributes(MaxXmlAttributes + 1);
  for (const Row& row : {
           Row{"used too often", Declared("<!ENTITY e 'x'>", Times("&e;", MaxEntityUses + 1)),
               "its entities are used more than 5000 times"},
           Row{"too long", Declared("<!ENTITY e '" + std::string(4'000'000, 'x') + "'>", Times("&e;", 5)),
               "its entities stand for more than 16777216 bytes"},
           Row{"itself", Declared("<!ENTITY e '&f;'><!ENTITY f '&e;'>", "&e;"),
               "an entity refers to itself, or its entities expand to far more text than the file contains"},
           Row{"a crowded tag", Declared("<!ENTITY e \"<b" + Times(" a=''", 300) + "/>\">", "&e;"),
               "more than 256 attributes in one tag"},
           Row{"declarations", Declared(Times("<!ENTITY e 'x'>", MaxXmlDeclarations + 1), ""),
               "more than 1000 declarations in the document type"},
           Row{"declared elements",
               Declared(Numbered([](std::size_t i) { return fmt::format("<!ELEMENT b{} ANY>", i); },
                                 MaxXmlDeclarations + 1),
                        ""),
               "more than 1000 declarations in the document type"},
           Row{"declared choices",
               Declared(Numbered([](std::size_t i) { return fmt::format("<!ATTLIST b a{} (x|y) 'x'>", i); },
                                 MaxXmlDeclarations + 1),
                        ""),
               "more than 1000 declarations in the document type"},
           Row{"declared notations",
               Declared(Numbered([](std::size_t i) { return fmt::format("<!NOTATION n{} SYSTEM 'u'>", i); },
                                 MaxXmlDeclarations + 1),
                        ""),
               "more than 1000 declarations in the document type"},
           Row{"declared files of others",
               Declared("<!NOTATION n SYSTEM 'u'>" + Numbered(
                                                         [](std::size_t i) {
                                                           return fmt::format(
                                                               "<!ENTITY u{} SYSTEM 'u' NDATA n>", i);
                                                         },
                                                         MaxXmlDeclarations),
                        ""),
               "more than 1000 declarations in the document type"},
           Row{"depth",
               Declared("<!ENTITY e '" + Times("<b>", 100) + Times("</b>", 100) + "'>",
                        Times("<b>", 200) + "&e;&e;" + Times("</b>", 200)),
               "nested deeper than 250 levels"},
           Row{"defaults",
               Declared("<!ATTLIST b " +
                            Numbered([](std::size_t i) { return fmt::format(" a{} CDATA 'x'", i); }, 300) +
                            ">",
                        "<b/>"),
               "more than 256 attributes in one tag"},
       }) {
    XmlDocument document;
    EXPECT_FALSE(document.Load(row.xml)) << row.name;
    EXPECT_THAT(document.Reason(), HasSubstr(row.expected)) << row.name;
  }
  XmlDocument document;
  EXPECT_TRUE(document.Load(Declared("<!ENTITY e 'x'>", Times("&e;", MaxEntityUses))));
}

TEST(XmlStreamReader, AcceptsEveryKindOfDeclaration) {
  XmlDocument document;
  EXPECT_TRUE(document.Load(
      Declared("<!ELEMENT a ANY><!ATTLIST a b (x|y) 'x' c NOTATION (n) #IMPLIED><!NOTATION n SYSTEM 'u'>"
               "<!ENTITY u SYSTEM 'u' NDATA n><!ENTITY e 'x'><!ENTITY % p ''><?i?><!---->",
               "&e;")))
      << document.Reason();
  EXPECT_EQ(document.ElementsByTagName("a").front().Text(), "x");
}

TEST(XmlStreamReader, RefusesATagOfTooManyAttributesInEveryEncoding) {
  const std::string tag = "<b" + Attributes(50'000) + "/>";
  for (const std::string& xml : {
           "<a>" + tag + "</a>",
           "\xEF\xBB\xBF<a>" + tag + "</a>",
           "<?xml version='1.0'?><a>" + tag + "</a>",
           "<?xml version='1.0'" + std::string(2000, ' ') + "?><a>" + tag + "</a>",
           "<?xml version='1.0' encoding=''?><a>" + tag + "</a>",
           InUtf16("<a>" + tag + "</a>").substr(2),
           InUtf16("<?xml version='1.0' encoding='UTF-16'?><a>" + tag + "</a>"),
           "<?xml version='1.0' encoding='EBCDIC-nonsense'?><a>" + tag + "</a>",
       }) {
    XmlDocument document;
    EXPECT_FALSE(document.Load(xml));
    EXPECT_FALSE(document.Reason().empty());
    EXPECT_FALSE(IsWellFormedXml(xml));
  }
}

TEST(XmlStreamReader, BuildsTheSameTreeFromSeveralPiecesAsFromOne) {
  const std::string rest =
      "<c d='1=2'> \n x&#228;&lt; <e> </e>\n<f>\n\n" + Times("word ", 30'000) + "\n</f><![CDATA[ <x> ]]></c>";
  XmlDocument whole;
  XmlDocument pieces;
  ASSERT_TRUE(whole.Load("<a><b/>" + rest + "</a>"));
  ASSERT_TRUE(pieces.Load("<a>" + LongAndCrowded + rest + "</a>"));
  EXPECT_EQ(whole.ElementsByTagName("c").front().Xml(), pieces.ElementsByTagName("c").front().Xml());
}

TEST(XmlStreamReader, NamesTheEndAsTheFaultOfADocumentThatIsCutOff) {
  XmlDocument small;
  EXPECT_FALSE(small.Load("<a>\n<b>x"));
  EXPECT_EQ(small.Reason(), "line 2: the document ends too early");
  XmlDocument document;
  EXPECT_FALSE(document.Load("<a>" + LongAndCrowded));
  EXPECT_THAT(document.Reason(), HasSubstr("the document ends too early"));
}

TEST(XmlStreamReader, IgnoresZeroBytesAfterTheRootAndRefusesTextAfterThem) {
  XmlDocument document;
  EXPECT_TRUE(document.Load("<a/>" + std::string(500, '\0')));
  EXPECT_FALSE(document.Load("<a/>" + std::string(5, '\0') + "<b/>"));
  EXPECT_EQ(document.Reason(), "line 1: text after a zero byte");
}

TEST(XmlStreamReader, CountsTheAttributesOfAnEntityFromOneTagToTheNext) {
  struct Row {
    const char* name;
    std::string text;
    bool isAccepted;
  };
  const std::string most = Times("=", MaxXmlAttributes);
  for (const Row& row :
       {Row{"empty", "", true}, Row{"as many as one tag may have", most, true},
        Row{"one more", most + "=", false}, Row{"one more in the next tag", most + "<=", true}}) {
    XmlDocument document;
    EXPECT_EQ(document.Load(Declared("<!ENTITY e '" + row.text + "'>", "")), row.isAccepted) << row.name;
  }
}

/// Writes down the events.
class Recorder final : public XmlHandler {
 public:
  void StartElement(const XmlStartTag& tag) override {
    events += fmt::format("<{}|{}", tag.prefix, tag.name);
    for (const XmlAttribute& one : tag.attributes)
      events += fmt::format(" {}|{}={}", one.prefix, one.name, one.value);
    for (const XmlNamespace& one : tag.namespaces) events += fmt::format(" ns {}={}", one.prefix, one.uri);
    events += ">";
  }
  void EndElement() override { events += "</>"; }
  void Text(std::string_view part) override { events += part; }
  void Comment() override { events += "[comment]"; }
  void ProcessingInstruction() override { events += "[instruction]"; }
  void DocumentTypeUse() override { events += "[type]"; }

  std::string events;
};

std::string Events(std::string_view xml, const XmlReadOptions& options, std::size_t pieceBytes = 1'000) {
  Recorder recorder;
  XmlStreamReader reader(recorder, options);
  for (std::size_t at = 0; at < xml.size(); at += pieceBytes) reader.Feed(xml.substr(at, pieceBytes));
  reader.Finish();
  return recorder.events;
}

TEST(XmlStreamReader, ReportsTheEventsOfADocument) {
  struct Row {
    const char* name;
    const char* xml;
    const char* resolved;
    const char* asWritten;
  };
  constexpr XmlReadOptions asWritten = {.names = XmlReadOptions::Names::AsWritten};
  for (const Row& row : {
           Row{"text", "<a>x &lt;&#228;</a>", "<|a>x <ä</>", "<|a>x <ä</>"},
           Row{"other nodes", "<?i?><a><!--c--><![CDATA[<]]></a>", "[instruction]<|a>[comment]<</>",
               "[instruction]<|a>[comment]<</>"},
           Row{"attributes", "<a b='1' c='&amp;'/>", "<|a |b=1 |c=&></>", "<|a |b=1 |c=&></>"},
           Row{"namespaces", "<p:a b='1' xmlns:p='u' p:c='2' xmlns='v'/>", "<p|a |b=1 p|c=2 ns p=u ns =v></>",
               "<|p:a |b=1 |xmlns:p=u |p:c=2 |xmlns=v></>"},
           Row{"an entity", "<!DOCTYPE a [<!ENTITY e '<b/>x'>]><a>&e;</a>", "<|a>[type]<|b></>x</>",
               "<|a>[type]<|b></>x</>"},
           Row{"a default", "<!DOCTYPE a [<!ATTLIST a b CDATA 'x'>]><a c='1'/>", "[type]<|a |c=1 |b=x></>",
               "[type]<|a |c=1 |b=x></>"},
       }) {
    EXPECT_EQ(Events(row.xml, {}), row.resolved) << row.name;
    EXPECT_EQ(Events(row.xml, asWritten), row.asWritten) << row.name << ", as written";
    EXPECT_EQ(Events(row.xml, {}, 5), row.resolved) << row.name << ", in small pieces";
  }
}

/// Throws at the first event of an element.
class Thrower final : public XmlHandler {
 public:
  struct Thrown {};
  void StartElement(const XmlStartTag& /*tag*/) override { throw Thrown(); }
};

TEST(XmlStreamReader, PassesOnWhatTheHandlerThrows) {
  for (const char* const xml : {"<a/>", "<!DOCTYPE a [<!ENTITY e '<b/>'>]><a>&e;</a>"}) {
    Thrower thrower;
    XmlStreamReader reader(thrower);
    EXPECT_THROW(reader.Feed(xml), Thrower::Thrown) << xml;
  }
}

TEST(XmlStreamReader, RefusesATextThatCannotBeConvertedBeforeTheRoot) {
  // An unpaired surrogate in a comment, at which libxml2 ends without an error.
  std::string text = InUtf16("<!-- ") + std::string("\x4C\xD8\x41\0", 4);
  text += InUtf16(" --><a/>").substr(2);
  XmlDocument document;
  EXPECT_FALSE(document.Load(text));
  EXPECT_NE(document.Reason(), "");
}

TEST(XmlStreamReader, KeepsWhatIsBetweenTheTags) {
  struct Row {
    std::string_view name;
    std::string xml;
    std::string expected;
  };
  const std::string latin1 = "<?xml version='1.0' encoding='ISO-8859-1'" + Times(" ", 300);
  for (const Row& row : {
           Row{"long declaration in UTF-16",
               InUtf16(R"(<?xml version="1.0" encoding="UTF-16" standalone="no"?><a>x</a>)"), "<a>x</a>"},
           Row{"the same in a long document",
               InUtf16(R"(<?xml version="1.0" encoding="UTF-16" standalone="no"?><a>x)" + Times("y", 40'000) +
                       "</a>"),
               "<a>x" + Times("y", 40'000) + "</a>"},
           Row{"long declaration in Latin-1", latin1 + "?><a>\xE4</a>", "<a>\xC3\xA4</a>"},
           Row{"one quotation mark in the document type", "<!DOCTYPE a [<?pi don't?>]><a>x</a>", "<a>x</a>"},
           Row{"line ends in CDATA", "<a><![CDATA[x\r\ny\rz]]></a>", "<a><![CDATA[x\ny\nz]]></a>"},
           Row{"blanks before a line end", "<a>  \r\n  y<b/></a>", "<a>  \n  y<b/></a>"},
           Row{"a text of many equals signs after blanks", "<a>  \r\n" + Times("=", 40'000) + "</a>",
               "<a>  \n" + Times("=", 40'000) + "</a>"},
       }) {
    XmlDocument document;
    ASSERT_TRUE(document.Load(row.xml)) << row.name << ": " << document.Reason();
    EXPECT_EQ(document.Root().Xml(), row.expected) << row.name;
  }
}

TEST(XmlStreamReader, ReadsALongAttributeInLinearTime) {
  const auto seconds = [](std::size_t count) {
    const std::string text = "<a b='" + Times("a>b ", count) + "'/>";
    const double begin = test::ProcessorSeconds();
    XmlDocument document;
    EXPECT_TRUE(document.Load(text)) << document.Reason();
    return test::ProcessorSeconds() - begin;
  };
  const double small = seconds(500'000);
  EXPECT_LT(seconds(2'000'000), 8 * small + 0.05) << "16 times as long if it grew with the square";
}

TEST(XmlStreamReader, ReadsAnUnclosedDocumentTypeInLinearTime) {
  const auto seconds = [](std::size_t count) {
    const std::string text = "<!DOCTYPE a [<!ENTITY a '" + Times("x>", count);
    const double begin = test::ProcessorSeconds();
    XmlDocument document;
    EXPECT_FALSE(document.Load(text));
    return test::ProcessorSeconds() - begin;
  };
  const double small = seconds(1'000'000);
  EXPECT_LT(seconds(4'000'000), 8 * small + 0.05) << "16 times as long if it grew with the square";
}

TEST(XmlStreamReader, RefusesATagOfTooManyAttributesAfterALongDocumentType) {
  XmlDocument document;
  EXPECT_FALSE(document.Load("<!DOCTYPE a [<!ENTITY a '" + Times("x", 200'000) + "'>]><a" +
                             Attributes(50'000) + "/>"));
  EXPECT_THAT(document.Reason(), HasSubstr("more than 256 attributes in one tag"));
}

TEST(XmlStreamReader, CountsPositionsInUtf8) {
  class Positions final : public XmlHandler {
   public:
    void StartElement(const XmlStartTag& /*tag*/) override { found.push_back(reader.Position()); }
    void EndElement() override { found.push_back(reader.Position()); }
    XmlStreamReader reader{*this, {.encoding = XmlReadOptions::Encoding::Utf8}};
    std::vector<std::uint64_t> found;
  };
  Positions positions;
  const std::string xml =
      "<?xml version='1.0' encoding='ISO-8859-1'?><a>ä" + std::string(20'000, 'x') + "<b/></a>";
  positions.reader.Feed(xml);
  positions.reader.Finish();
  ASSERT_EQ(positions.found.size(), 4U);
  EXPECT_EQ(xml.rfind('<', positions.found[0]), xml.find("<a>"));
  EXPECT_EQ(xml.rfind('<', positions.found[1]), xml.find("<b/>"));
  EXPECT_EQ(positions.found[2], xml.find("</a>"));
  EXPECT_EQ(positions.found[3], xml.size());
}

}  // namespace
}  // namespace fieldpost
