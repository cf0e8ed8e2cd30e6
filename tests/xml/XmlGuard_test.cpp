#include "xml/XmlGuard.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <functional>

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

/// Behind this a document is read in pieces, as it might hold a tag of too many attributes.
const std::string Crowded = "<b>" + Times("x=y ", 20'000) + "</b>";

TEST(XmlGuard, TakesWhatIsWithinItsBoundsAndNamesTheOneThatIsNot) {
  struct Row {
    const char* name;
    std::function<std::string(std::size_t)> content;
    std::size_t most;
    const char* expected;
  };
  for (const Row& row : {
           Row{"attributes", [](std::size_t n) { return "<b" + Attributes(n) + "/>"; },
               XmlDocument::MaxAttributes, "more than 256 attributes in one tag"},
           Row{"name spaces of one tag", [](std::size_t n) { return "<b" + Namespaces(n) + "/>"; },
               XmlDocument::MaxNamespaces, "more than 200 name spaces at a time"},
           Row{"name spaces in force",
               [](std::size_t n) { return "<b" + Namespaces(n - 1) + "><c xmlns='u'/><d xmlns='u'/></b>"; },
               XmlDocument::MaxNamespaces, "more than 200 name spaces at a time"},
           Row{"depth", [](std::size_t n) { return Times("<b>", n - 1) + Times("</b>", n - 1); },
               XmlDocument::MaxDepth, "nested deeper than 250 levels"},
           Row{"names",
               [](std::size_t n) {
                 // the parser has some twenty names of its own
                 return Numbered([](std::size_t i) { return fmt::format("<n{}/>", i); }, n - 100) +
                        (n > XmlDocument::MaxNames
                             ? Numbered([](std::size_t i) { return fmt::format("<m{}/>", i); }, 100)
                             : "");
               },
               XmlDocument::MaxNames, "more than 20000 different names"},
       }) {
    for (const std::string& before : {std::string(), Crowded}) {
      XmlDocument document;
      EXPECT_TRUE(document.Load("<a>" + before + row.content(row.most) + "</a>"))
          << row.name << ": " << document.Reason();
      EXPECT_FALSE(document.Load("<a>" + before + row.content(row.most + 1) + "</a>")) << row.name;
      EXPECT_THAT(document.Reason(), HasSubstr(row.expected)) << row.name;
    }
  }
}

TEST(XmlGuard, CountsWhatTheTreeIsMadeOf) {
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

TEST(XmlGuard, BoundsWhatEntitiesStandFor) {
  struct Row {
    const char* name;
    std::string xml;
    const char* expected;
  };
  const std::string attributes = Attributes(XmlDocument::MaxAttributes + 1);
  for (const Row& row : {
           Row{"used too often", Declared("<!ENTITY e 'x'>", Times("&e;", XmlDocument::MaxEntityUses + 1)),
               "its entities are used more than 5000 times"},
           Row{"too long", Declared("<!ENTITY e '" + std::string(4'000'000, 'x') + "'>", Times("&e;", 5)),
               "its entities stand for more than 16777216 bytes"},
           Row{"itself", Declared("<!ENTITY e '&f;'><!ENTITY f '&e;'>", "&e;"),
               "its entities stand for themselves, or for far more than is in the file"},
           Row{"a crowded tag", Declared("<!ENTITY e \"<b" + Times(" a=''", 300) + "/>\">", "&e;"),
               "more than 256 attributes in one tag"},
           Row{"declarations", Declared(Times("<!ENTITY e 'x'>", XmlDocument::MaxDeclarations + 1), ""),
               "more than 1000 declarations in the document type"},
           Row{"declared elements",
               Declared(Numbered([](std::size_t i) { return fmt::format("<!ELEMENT b{} ANY>", i); },
                                 XmlDocument::MaxDeclarations + 1),
                        ""),
               "more than 1000 declarations in the document type"},
           Row{"declared choices",
               Declared(Numbered([](std::size_t i) { return fmt::format("<!ATTLIST b a{} (x|y) 'x'>", i); },
                                 XmlDocument::MaxDeclarations + 1),
                        ""),
               "more than 1000 declarations in the document type"},
           Row{"declared notations",
               Declared(Numbered([](std::size_t i) { return fmt::format("<!NOTATION n{} SYSTEM 'u'>", i); },
                                 XmlDocument::MaxDeclarations + 1),
                        ""),
               "more than 1000 declarations in the document type"},
           Row{"declared files of others",
               Declared("<!NOTATION n SYSTEM 'u'>" + Numbered(
                                                         [](std::size_t i) {
                                                           return fmt::format(
                                                               "<!ENTITY u{} SYSTEM 'u' NDATA n>", i);
                                                         },
                                                         XmlDocument::MaxDeclarations),
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
  // The parser asks for an entity once more when it is declared.
  XmlDocument document;
  EXPECT_TRUE(document.Load(Declared("<!ENTITY e 'x'>", Times("&e;", XmlDocument::MaxEntityUses - 1))));
}

TEST(XmlGuard, TakesEveryKindOfDeclaration) {
  XmlDocument document;
  EXPECT_TRUE(document.Load(
      Declared("<!ELEMENT a ANY><!ATTLIST a b (x|y) 'x' c NOTATION (n) #IMPLIED><!NOTATION n SYSTEM 'u'>"
               "<!ENTITY u SYSTEM 'u' NDATA n><!ENTITY e 'x'><!ENTITY % p ''><?i?><!---->",
               "&e;")))
      << document.Reason();
  EXPECT_EQ(document.ElementsByTagName("a").front().Text(), "x");
}

TEST(XmlGuard, FindsACrowdedTagWhateverItIsWrittenIn) {
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
    std::string reason;
    EXPECT_FALSE(XmlGuard(XmlGuard::Keep::Tree, {}, reason).Parse(xml));
    EXPECT_FALSE(reason.empty());
    EXPECT_FALSE(IsWellFormedXml(xml));
  }
}

TEST(XmlGuard, GivesTheSameDocumentInPiecesAsInOne) {
  const std::string rest =
      "<c d='1=2'> \n x&#228;&lt; <e> </e>\n<f>\n\n" + Times("word ", 30'000) + "\n</f><![CDATA[ <x> ]]></c>";
  XmlDocument whole;
  XmlDocument pieces;
  ASSERT_TRUE(whole.Load("<a><b/>" + rest + "</a>"));
  ASSERT_TRUE(pieces.Load("<a>" + Crowded + rest + "</a>"));
  ASSERT_TRUE(HasCrowdedStretch(Crowded));
  EXPECT_EQ(whole.ElementsByTagName("c").front().Xml(), pieces.ElementsByTagName("c").front().Xml());
}

TEST(XmlGuard, SaysOfADocumentInPiecesThatItEndsTooEarly) {
  XmlDocument document;
  EXPECT_FALSE(document.Load("<a>" + Crowded));
  EXPECT_THAT(document.Reason(), HasSubstr("the document ends too early"));
}

TEST(XmlGuard, TakesAFileThatIsFilledUpWithZerosAndNoTextBehindThem) {
  XmlDocument document;
  EXPECT_TRUE(document.Load("<a/>" + std::string(500, '\0')));
  EXPECT_FALSE(document.Load("<a/>" + std::string(5, '\0') + "<b/>"));
  EXPECT_EQ(document.Reason(), "line 1: text behind a zero byte");
}

TEST(HasCrowdedStretch, CountsFromOneTagToTheNext) {
  const std::string full = Times("=", XmlDocument::MaxAttributes);
  EXPECT_FALSE(HasCrowdedStretch(""));
  EXPECT_FALSE(HasCrowdedStretch(full));
  EXPECT_TRUE(HasCrowdedStretch(full + "="));
  EXPECT_FALSE(HasCrowdedStretch(full + "<="));
}

}  // namespace
}  // namespace fieldpost
