#include "xml/XmlDocument.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <array>
#include <string_view>

#include "common/Limits.h"
#include "support/TempFolder.h"

namespace fieldpost {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

XmlDocument Loaded(std::string_view xml) {
  XmlDocument document;
  EXPECT_TRUE(document.Load(xml)) << document.Reason();
  return document;
}

std::string Reason(std::string_view xml) {
  XmlDocument document;
  EXPECT_FALSE(document.Load(xml));
  EXPECT_FALSE(document.IsLoaded());
  return document.Reason();
}

TEST(XmlDocument, ReturnsTheTrimmedTextOfAnElement) {
  struct Row {
    const char* name;
    const char* xml;
    const char* expected;
  };
  for (const Row& row : {
           Row{"plain", "<a>x</a>", "x"},
           Row{"blanks at both ends", "<a> \n x y\t</a>", "x y"},
           Row{"only blanks", "<a> \n </a>", ""},
           Row{"empty", "<a/>", ""},
           Row{"entities", "<a>&lt;&amp;&#228;</a>", "<&ä"},
           Row{"character data section", "<a><![CDATA[<x>]]></a>", "<x>"},
           Row{"elements inside", "<a>x<b>y</b>z</a>", "xyz"},
           Row{"entity of its own", "<!DOCTYPE a [<!ENTITY e 'value'>]><a>&e;</a>", "value"},
       }) {
    EXPECT_EQ(Loaded(row.xml).Root().Text(), row.expected) << row.name;
  }
}

TEST(XmlDocument, DropsTextOfWhiteSpaceAlone) {
  EXPECT_EQ(Loaded("<a>\n <b> </b>\n x <c/> </a>").Root().Xml(), "<a><b/>\n x <c/></a>");
  EXPECT_EQ(Loaded("<a xml:space=\"preserve\"> <b/> </a>").Root().Xml(),
            "<a xml:space=\"preserve\"> <b/> </a>");
}

TEST(XmlDocument, KeepsALongTextAndRefusesOtherPartsOfThatLength) {
  constexpr std::string_view TooLong = "an attribute, a comment or another part of more than 10 MB";
  const std::string line = std::string(99, 'x') + '\n';
  std::string lines;
  while (lines.size() < 11'000'000) lines += line;
  struct Row {
    std::string_view name;
    std::string xml;
    std::string_view reason;  // of the refusal
  };
  for (const Row& row : {
           Row{"text of one line", "<a><b>" + std::string(11'000'000, 'x') + "</b><c/></a>", ""},
           Row{"text of many lines", "<a><b>" + lines + "</b><c/></a>", ""},
           Row{"CDATA section", "<a><![CDATA[" + lines + "]]><c/></a>", TooLong},
           Row{"comment", "<a><!--" + lines + "--><c/></a>", TooLong},
           Row{"attribute", "<a b=\"" + lines + "\"><c/></a>", TooLong},
       }) {
    SCOPED_TRACE(row.name);
    XmlDocument document;
    ASSERT_EQ(document.Load(row.xml), row.reason.empty()) << document.Reason();
    EXPECT_TRUE(document.Reason().ends_with(row.reason)) << document.Reason();
    EXPECT_TRUE(!row.reason.empty() || document.Root().Xml() == row.xml);
  }
}

TEST(XmlDocument, ReportsInOneLineWhyItDidNotLoad) {
  struct Row {
    const char* name;
    std::string xml;
    const char* expected;
  };
  std::string deep;
  for (std::size_t i = 0; i <= MaxXmlDepth; ++i) deep += "<a>";
  for (std::size_t i = 0; i <= MaxXmlDepth; ++i) deep += "</a>";
  for (const Row& row : {
           Row{"empty", "", "the file is empty"},
           Row{"no XML", "hello", "line 1: Start tag expected"},
           Row{"tags crossed", "<a>\n<b></a>", "line 2: Opening and ending tag mismatch"},
           Row{"cut off", "<a><b>", "line 1: "},
           Row{"two roots", "<a/><b/>", "Extra content"},
           Row{"prefix not declared", "<x:a/>", "Namespace prefix x on a is not defined"},
           Row{"entity not declared", "<a>&e;</a>", "Entity 'e' not defined"},
           Row{"NUL", std::string("<a>\0</a>", 8), "line 1: "},
           Row{"broken UTF-8", "<a>\xC3(</a>", "line 1: "},
           Row{"too deep", deep, "nested deeper than 250 levels"},
       }) {
    const std::string reason = Reason(row.xml);
    EXPECT_THAT(reason, HasSubstr(row.expected)) << row.name;
    EXPECT_THAT(reason, Not(HasSubstr("\n"))) << row.name;
  }
}

TEST(XmlDocument, OpensNothingOutsideItself) {
  const test::TempFolder folder;
  const std::string secret = Utf8FromPath(folder.Write("secret.txt", "secret"));
  for (const std::string& xml : {
           "<!DOCTYPE a [<!ENTITY e SYSTEM \"" + secret + "\">]><a>&e;</a>",
           "<!DOCTYPE a [<!ENTITY % p SYSTEM \"" + secret + "\"> %p;]><a>&e;</a>",
           "<!DOCTYPE a SYSTEM \"" + secret + "\"><a>&e;</a>",
       }) {
    EXPECT_THAT(Reason(xml), Not(HasSubstr("secret\""))) << xml;
  }
}

TEST(XmlDocument, KeepsEveryCharacterOfEveryEncoding) {
  struct Row {
    const char* name;
    std::string bytes;
    std::string text;
  };
  const std::string utf16 = [] {
    std::string result = "\xFF\xFE";
    for (const char16_t unit : u"<?xml version=\"1.0\" encoding=\"UTF-16\"?><a>\u4E2D\u00E4</a>") {
      if (unit == 0) break;
      result += static_cast<char>(unit & 0xFF);
      result += static_cast<char>(unit >> 8);
    }
    return result;
  }();
  for (const Row& row : {
           Row{"none declared", "<a>ä中</a>", "ä中"},
           Row{"UTF-8", "<?xml version=\"1.0\" encoding=\"UTF-8\"?><a>ä中</a>", "ä中"},
           Row{"UTF-8 with a mark", "\xEF\xBB\xBF<a>ä</a>", "ä"},
           Row{"ISO-8859-1", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE4\xFC</a>", "äü"},
           Row{"windows-1252", "<?xml version=\"1.0\" encoding=\"windows-1252\"?><a>\x80\x84\xE4</a>", "€„ä"},
           Row{"UTF-16", utf16, "中ä"},
           Row{"a reference beyond the encoding",
               "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>&#8364;\xE4</a>", "€ä"},
       }) {
    const XmlDocument document = Loaded(row.bytes);
    EXPECT_EQ(document.Root().Text(), row.text) << row.name;
    EXPECT_EQ(document.Root().Xml(), "<a>" + row.text + "</a>") << row.name;
    EXPECT_EQ(Loaded(document.Xml()).Root().Text(), row.text) << row.name << ": " << document.Xml();
  }
}

TEST(XmlDocument, StaysInItsEncodingWhenWritten) {
  EXPECT_EQ(Loaded("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE4</a>").Xml(),
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<a>\xE4</a>\n");
  EXPECT_EQ(Loaded("<a>ä</a>").Xml(), "<?xml version=\"1.0\"?>\n<a>ä</a>\n");
  EXPECT_EQ(Loaded("<?xml version=\"1.0\" encoding=\"UTF-8\"?><!--c--><a>ä</a>").Xml(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!--c-->\n<a>ä</a>\n");
}

TEST(XmlDocument, FindsElementsByNameAnywhereInOrder) {
  const XmlDocument document = Loaded("<r><a>1</a><b><a>2</a><p:a xmlns:p='u'>no</p:a></b><a>3</a></r>");
  std::vector<std::string> texts;
  for (const XmlElement& element : document.ElementsByTagName("a")) texts.push_back(element.Text());
  EXPECT_THAT(texts, ElementsAre("1", "2", "3"));
  EXPECT_EQ(document.ElementsByTagNames({"a", "b", "none"})[1].size(), 1U);
  EXPECT_TRUE(document.ElementsByTagNames({"a", "b", "none"})[2].empty());
}

TEST(XmlDocument, ChangesTextsAndAttributes) {
  const XmlDocument document = Loaded("<r no='1' x='2'><m>f<b/></m></r>");
  XmlElement root = document.Root();
  root.SetFirstAttribute("7");
  root.SetAttribute("Mode", "a \"b\" <");
  document.ElementsByTagName("m")[0].SetText("P & <");
  EXPECT_EQ(root.Xml(), "<r no=\"7\" x=\"2\" Mode=\"a &quot;b&quot; &lt;\"><m>P &amp; &lt;</m></r>");
  EXPECT_EQ(root.Attribute("Mode"), "a \"b\" <");
  EXPECT_EQ(root.Attribute("none"), std::nullopt);

  const XmlDocument plain = Loaded("<r/>");
  plain.Root().SetFirstAttribute("7");
  EXPECT_EQ(plain.Root().Xml(), "<r/>");
}

TEST(XmlDocument, CopiesElementsBetweenDocuments) {
  const XmlDocument target = Loaded("<r><a/></r>");
  const XmlDocument source = Loaded("<s xmlns:p='u'><p:b k='1'>x</p:b></s>");
  XmlElement root = target.Root();
  root.AppendCopyOf(Loaded("<b k='1'>x<c/></b>").Root());
  EXPECT_EQ(root.Xml(), "<r><a/><b k=\"1\">x<c/></b></r>");
}

TEST(XmlDocument, WritesAnElementThatIsWellFormedOnItsOwn) {
  const XmlDocument document =
      Loaded("<!DOCTYPE r [<!ENTITY e 'v'>]><r xmlns:p='u' xmlns='d'><f p:k='&e;'><p:g>&e;</p:g></f></r>");
  const std::string xml = document.ElementsByTagName("f")[0].Xml();
  EXPECT_TRUE(IsWellFormedXml(xml)) << xml;
  EXPECT_THAT(xml, HasSubstr("p:k=\"v\""));
  EXPECT_THAT(xml, HasSubstr("<p:g>v</p:g>"));
}

TEST(XmlDocument, WritesNamespaceNamesAsTheyWereRead) {
  for (const std::string_view name : {"u", "http://x.example/?a=1&amp;b=2", "&amp;", "&amp;amp;", "'"}) {
    const std::string start = fmt::format("<r xmlns:p=\"{0}\" xmlns=\"{0}\">", name);
    const XmlDocument document = Loaded(start + "<f p:k=\"v\"><p:g/></f></r>");
    const std::string xml = document.Xml();
    EXPECT_THAT(xml, HasSubstr(start + "<f p:k=\"v\"><p:g/></f>"));
    EXPECT_EQ(Loaded(xml).Xml(), xml) << name;
    const std::string alone = document.ElementsByTagName("f")[0].Xml();
    EXPECT_TRUE(IsWellFormedXml(alone)) << alone;

    XmlDocument target = Loaded("<t/>");
    target.Root().AppendCopyOf(document.ElementsByTagName("f")[0]);
    EXPECT_EQ(Loaded(target.Xml()).ElementsByTagName("f")[0].Xml(), alone) << name;
  }
}

TEST(XmlDocument, RefusesANamespaceNameThatIsNoUri) {
  for (const std::string_view name : {"&lt;", "&quot;", "&#10;", "a b", "&#9;"}) {
    for (const std::string_view prefix : {"", ":p"}) {
      XmlDocument document;
      EXPECT_FALSE(document.Load(fmt::format("<r xmlns{}=\"{}\"/>", prefix, name))) << name;
      EXPECT_THAT(document.Reason(), HasSubstr("is not a valid URI")) << name;
    }
  }
}

TEST(IsWellFormedXml, AgreesWithLoading) {
  for (const std::string_view good : {"<a/>", "<?xml version='1.0'?><a>ä<b c='&lt;'/></a>",
                                      "<!DOCTYPE a [<!ENTITY e 'v'>]><a k='&e;'>&e;</a>"}) {
    EXPECT_TRUE(IsWellFormedXml(good)) << good;
  }
  for (const std::string_view bad :
       {"", "x", "<a>", "<a/><b/>", "<p:a/>", "<a>&e;</a>", "<a b='1' b='2'/>"}) {
    EXPECT_FALSE(IsWellFormedXml(bad)) << bad;
  }
}

TEST(RootAttribute, ReadsTheRootAlone) {
  EXPECT_EQ(RootAttribute("<?xml version='1.0'?>\n<r Mode='Sent'><b Mode='x'>", "Mode"), "Sent");
  EXPECT_EQ(RootAttribute("<r><b Mode='x'/></r>", "Mode"), std::nullopt);
  EXPECT_EQ(RootAttribute("<!-- <r Mode='Sent'> --><r Mode='Not Sent'>", "Mode"), "Not Sent");
  EXPECT_EQ(RootAttribute("garbage", "Mode"), std::nullopt);
  EXPECT_EQ(RootAttribute("", "Mode"), std::nullopt);
}

/// In some encodings markup is written as other bytes, so that a document would not be read as it was
/// meant.
TEST(XmlDocument, IsWrittenInItsEncodingWhereThatKeepsEveryCharacter) {
  struct Row {
    const char* encoding;
    const char* written;
  };
  for (const Row& row : {
           Row{"ISO-8859-1", "ISO-8859-1"},
           Row{"windows-1252", "windows-1252"},
           Row{"US-ASCII", "US-ASCII"},
           Row{"GB18030", "GB18030"},
           Row{"UTF-7", "UTF-8"},
           Row{"windows1-252", "UTF-8"},
           Row{"HZ-GB-2312", "UTF-8"},
       }) {
    XmlDocument document;
    ASSERT_TRUE(document.Load("<?xml version=\"1.0\" encoding=\"" + std::string(row.encoding) +
                              "\"?><a b=\"1\">&#228;&#12354;z</a>"))
        << row.encoding << document.Reason();
    const std::string xml = document.Xml();
    EXPECT_THAT(xml, HasSubstr("encoding=\"" + std::string(row.written) + "\"")) << row.encoding;
    XmlDocument again;
    EXPECT_TRUE(again.Load(xml)) << row.encoding << again.Reason();
    EXPECT_EQ(again.Root().Text(), "äあz") << row.encoding;
  }
}

TEST(XmlElement, DoesNotContainFollowingSiblingsOfItOrOfAParent) {
  constexpr std::array names{std::string_view("Q")};
  struct Row {
    const char* xml;
    bool expected;
  };
  for (const Row& row :
       {Row{"<a><b><c><M>P</M></c></b><Q/></a>", false}, Row{"<a><b><M>P</M></b>text<Q/></a>", false},
        Row{"<a><M>P</M><Q/></a>", false}, Row{"<a><M><x><Q/></x></M></a>", true}}) {
    XmlDocument document;
    ASSERT_TRUE(document.Load(row.xml));
    EXPECT_EQ(document.ElementsByTagName("M").front().Contains(names), row.expected) << row.xml;
  }
}

}  // namespace
}  // namespace fieldpost
