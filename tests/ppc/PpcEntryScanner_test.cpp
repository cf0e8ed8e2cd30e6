#include "ppc/PpcEntryScanner.h"

#include <gmock/gmock.h>

#include "common/Limits.h"
#include "support/Ppc.h"
#include "xml/XmlError.h"

namespace fieldpost {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ScanPpc : public testing::Test {
 protected:
  void Scan(std::string_view text) {
    sink = std::make_unique<test::KeepingSink>();
    ScanPpcFile(files, folder.Write("data.xml", text), *sink, display);
  }

  /// The reason for which a text is refused; empty when it is not.
  std::string Fault(std::string_view text) {
    try {
      Scan(text);
      return {};
    } catch (const XmlError& fault) {
      return fault.what();
    }
  }

  test::TempFolder folder;
  DiskFileSystem files;
  test::RecordingDisplay display;
  std::unique_ptr<test::KeepingSink> sink;
};

TEST_F(ScanPpc, HandsOverEntriesUnchanged) {
  struct Row {
    const char* name;
    std::string entry;
  };
  for (const Row& row : {
           Row{"plain", "<PPCentry><A>1</A></PPCentry>"},
           Row{"empty", "<PPCentry/>"},
           Row{"empty with attributes", "<PPCentry a = '>' b=\"/>\"\n/>"},
           Row{"blanks and lines", "<PPCentry >\r\n\t <A />\n</PPCentry >"},
           Row{"CDATA and comments",
               "<PPCentry><![CDATA[</PPCentry><]]><!-- </PPCentry> --><?p <x?></PPCentry>"},
           Row{"references", "<PPCentry>&lt;&#228;&#x20AC;&amp;</PPCentry>"},
           Row{"letters beyond ASCII", "<PPCentry>ä€🔧</PPCentry>"},
           Row{"namespaces of its own", "<PPCentry xmlns:p=\"urn:p\"><p:A p:b=\"1\"/></PPCentry>"},
           Row{"an entry within", "<PPCentry><PPCentry>1</PPCentry>2</PPCentry>"},
           Row{"longer than the parser's pieces", "<PPCentry a=\"" + std::string(200000, 'x') + "\"><A>" +
                                                      std::string(300000, 'y') + "</A></PPCentry>"},
       }) {
    Scan("<?xml version=\"1.0\"?><!-- <PPCentry> --><R><B/>" + row.entry + " between " + row.entry +
         "<PPCentryX/></R>");
    EXPECT_THAT(sink->entries, ElementsAre(row.entry, row.entry)) << row.name;
    EXPECT_THAT(sink->dates, IsEmpty());
  }
}

TEST_F(ScanPpc, AnEntryMayBeTheWholeDocument) {
  Scan("<PPCentry>1</PPCentry>");
  EXPECT_THAT(sink->entries, ElementsAre("<PPCentry>1</PPCentry>"));
}

TEST_F(ScanPpc, FindsElementsWhereverAPieceEnds) {
  const std::string entry = "<PPCentry no=\"1\">ä</PPCentry>";
  for (std::size_t filling = 65536 - 60; filling < 65536 + 10; ++filling) {
    Scan("<R><!--" + std::string(filling - 10, '.') + "-->" + entry + entry + "</R>");
    ASSERT_THAT(sink->entries, ElementsAre(entry, entry)) << filling;
  }
}

TEST_F(ScanPpc, HandsOverWholeCharacters) {
  for (const char* const character : {"ä", "€", "🔧"}) {
    for (const bool cdata : {false, true}) {
      for (std::size_t shift = 0; shift < 4; ++shift) {
        std::string entry = "<PPCentry a=\"" + std::string(shift, 'x') + "\">" + (cdata ? "<![CDATA[" : "");
        for (int i = 0; i < 400000; ++i) entry += character;
        entry += std::string(cdata ? "]]>" : "") + "</PPCentry>";
        Scan("<R>" + entry + "</R>");
        EXPECT_TRUE(sink->entries.front() == entry) << character << cdata << shift;
        EXPECT_TRUE(sink->piecesWhole) << character << cdata << shift;
        EXPECT_GT(sink->pieces, 3U) << "the file is larger than what is read in one go";
      }
    }
  }
}

TEST_F(ScanPpc, TakesTheFirstArchiveDate) {
  struct Row {
    const char* name;
    const char* content;
    std::vector<std::string> dates;
  };
  for (const Row& row : {
           Row{"before the entries",
               "<ArchiveDate a='1'>1</ArchiveDate><PPCentry/>",
               {"<ArchiveDate a='1'>1</ArchiveDate>"}},
           Row{"after the entries", "<PPCentry/><ArchiveDate/>", {"<ArchiveDate/>"}},
           Row{"two",
               "<ArchiveDate>1</ArchiveDate><ArchiveDate>2</ArchiveDate>",
               {"<ArchiveDate>1</ArchiveDate>"}},
           Row{"in an entry",
               "<PPCentry><ArchiveDate>1</ArchiveDate></PPCentry>",
               {"<ArchiveDate>1</ArchiveDate>"}},
           Row{"of another namespace", "<p:ArchiveDate xmlns:p='urn:p'/>", {}},
           Row{"none", "<PPCentry/>", {}},
       }) {
    Scan("<R>"s + row.content + "</R>");
    EXPECT_EQ(sink->dates, row.dates) << row.name;
  }
}

TEST_F(ScanPpc, DeclaresInheritedNamespaces) {
  struct Row {
    const char* name;
    const char* text;
    const char* entry;
  };
  for (const Row& row : {
           Row{"a prefix", "<R xmlns:p='urn:p'><PPCentry><p:A/></PPCentry></R>",
               "<PPCentry xmlns:p=\"urn:p\"><p:A/></PPCentry>"},
           Row{"the default", "<R xmlns='urn:d'><PPCentry a='1'/></R>", "<PPCentry xmlns=\"urn:d\" a='1'/>"},
           Row{"its own counts more", "<R xmlns:p='urn:p'><PPCentry xmlns:p='urn:q'/></R>",
               "<PPCentry xmlns:p='urn:q'/>"},
           Row{"the nearest counts", "<R xmlns:p='urn:p'><S xmlns:p='urn:q'><PPCentry/></S></R>",
               "<PPCentry xmlns:p=\"urn:q\"/>"},
           Row{"those beside do not count", "<R><S xmlns:p='urn:q'/><PPCentry/></R>", "<PPCentry/>"},
           Row{"odd characters", "<R xmlns:p='urn:a&amp;b'><PPCentry/></R>",
               "<PPCentry xmlns:p=\"urn:a&amp;b\"/>"},
           Row{"the default taken back", "<R xmlns='urn:d'><S xmlns=''><PPCentry/></S></R>", "<PPCentry/>"},
       }) {
    Scan(row.text);
    EXPECT_THAT(sink->entries, ElementsAre(row.entry)) << row.name;
  }
}

TEST_F(ScanPpc, ReadsEveryEncoding) {
  const std::string utf16 = [] {
    std::string bytes = "\xFF\xFE";
    for (const char c : "<R><PPCentry>\xE4</PPCentry></R>"s) bytes += {c, '\0'};
    return bytes;
  }();
  struct Row {
    const char* name;
    std::string text;
    const char* content;
  };
  for (const Row& row : {
           Row{"UTF-8 with a mark", "\xEF\xBB\xBF<R><PPCentry>ä</PPCentry></R>", "ä"},
           Row{"ISO-8859-1", "<?xml version='1.0' encoding='ISO-8859-1'?><R><PPCentry>\xE4</PPCentry></R>",
               "ä"},
           Row{"windows-1252",
               "<?xml version=\"1.0\" encoding=\"windows-1252\"?><R><PPCentry>\x80</PPCentry></R>", "€"},
           Row{"UTF-16 with a mark", utf16, "ä"},
           Row{"UTF-16 without a mark", utf16.substr(2), "ä"},
       }) {
    Scan(row.text);
    EXPECT_THAT(sink->entries, ElementsAre("<PPCentry>"s + row.content + "</PPCentry>")) << row.name;
  }
}

TEST_F(ScanPpc, KeepsCharactersWholeAcrossPieces) {
  std::string text = "<?xml version='1.0' encoding='UTF-16'?><R><PPCentry>";
  std::string expected = "<PPCentry>";
  std::string bytes = "\xFE\xFF";
  for (const char c : text) bytes += {'\0', c};
  for (int i = 0; i < 40000; ++i) {
    bytes += "\xD8\x3D\xDD\x27";
    expected += "🔧";
  }
  for (const char c : "</PPCentry></R>"s) bytes += {'\0', c};
  Scan(bytes);
  EXPECT_THAT(sink->entries, ElementsAre(expected + "</PPCentry>"));
}

TEST_F(ScanPpc, ReplacesEntitiesOfTheFileItself) {
  Scan(
      "<?xml version='1.0' encoding='UTF-8'?><!DOCTYPE R [<!ENTITY e 'M&#252;ller'><!ENTITY x "
      "'<PPCentry>2</PPCentry>'>]>"
      "<R><PPCentry>0</PPCentry><PPCentry a='&e;'>&e;</PPCentry>&x;</R>");
  EXPECT_THAT(sink->entries, ElementsAre("<PPCentry>0</PPCentry>", "<PPCentry a=\"Müller\">Müller</PPCentry>",
                                         "<PPCentry>2</PPCentry>"));
}

TEST_F(ScanPpc, AddsAttributesThatTheFileDeclares) {
  Scan("<!DOCTYPE R [<!ATTLIST PPCentry xmlns:p CDATA 'urn:p'>]><R><PPCentry><p:A/></PPCentry></R>");
  EXPECT_THAT(sink->entries, ElementsAre("<PPCentry xmlns:p=\"urn:p\"><p:A/></PPCentry>"));
}

TEST_F(ScanPpc, AcceptsUnusedEntitiesInALargeFile) {
  const std::string entry = "<PPCentry>" + std::string(2 * MaxExpandedPpcBytes, 'x') + "</PPCentry>";
  Scan("<!DOCTYPE R [<!ENTITY e 'x'><!ENTITY f SYSTEM '/etc/passwd'>]><R>" + entry + "</R>");
  EXPECT_THAT(sink->entries, ElementsAre(entry));
}

TEST_F(ScanPpc, RefusesMalformedAndHostileFiles) {
  const std::string secret = Utf8FromPath(folder.Write("secret", "TOP-SECRET"));
  const std::string large(2 * MaxExpandedPpcBytes, 'x');
  std::string bomb = "<!DOCTYPE R [<!ENTITY a 'aaaaaaaaaaaaaaaaaaaa'>";
  for (char c = 'a'; c < 'j'; ++c) {
    bomb += "<!ENTITY "s + static_cast<char>(c + 1) + " '";
    for (int i = 0; i < 20; ++i) bomb += "&"s + c + ";";
    bomb += "'>";
  }
  const auto deep = [](int levels) {
    std::string text;
    for (int i = 0; i < levels; ++i) text += "<a>";
    for (int i = 0; i < levels; ++i) text += "</a>";
    return text;
  };
  const auto many = [](const std::string& before, const std::string& behind, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += before + std::to_string(i) + behind;
    return text;
  };
  struct Row {
    const char* name;
    std::string text;
    const char* reason;
  };
  for (const Row& row : {
           Row{"nothing", "", ""},
           Row{"no XML", "PPC data", ""},
           Row{"cut off", "<R><PPCentry>1</PPCentry><PPCentry>2", "line 1: the document ends too early"},
           Row{"a wrong end", "<R><PPCentry>1</PPCentry>\n</S>", "line 2: "},
           Row{"two roots", "<R/><R/>", ""},
           Row{"bytes that are no UTF-8", "<R><PPCentry>\xE4</PPCentry></R>", ""},
           Row{"an unknown encoding", "<?xml version='1.0' encoding='EBCDIC-X'?><R/>", "unknown encoding"},
           Row{"a wrong encoding", "<?xml version='1.0' encoding='UTF-16'?><R/>", "UTF-16"},
           Row{"not in its encoding", "<?xml version='1.0' encoding='windows-1252'?><R>\x81</R>",
               "windows-1252"},
           Row{"an undeclared prefix", "<R><PPCentry><p:A/></PPCentry></R>", "Namespace prefix p"},
           Row{"an undeclared entity", "<R><PPCentry>&e;</PPCentry></R>", "Entity 'e'"},
           Row{"an entity bomb", bomb + "]><R><PPCentry>&j;</PPCentry></R>", ""},
           Row{"an external entity",
               "<!DOCTYPE R [<!ENTITY e SYSTEM '" + secret + "'>]><R><PPCentry>&e;</PPCentry></R>", ""},
           Row{"entities in a large file",
               "<!DOCTYPE R [<!ENTITY e 'x'>]><R><PPCentry>&e;" + large + "</PPCentry></R>",
               "may use entities of its own"},
           Row{"too deep", deep(251), "nested deeper than 250 levels"},
           Row{"much too deep", deep(100000), "nested deeper than 250 levels"},
           Row{"very many names", "<R>" + many("<a", "/>", 30000) + "</R>",
               "more than 20000 different names"},
           Row{"very many namespaces", "<R " + many("xmlns:p", "='urn:p' ", 300) + "><PPCentry/></R>",
               "more than 200 namespaces"},
           Row{"very many attributes", "<R><PPCentry " + many("a", "='' ", 100000) + "/></R>",
               "more than 256 attributes in one tag"},
           Row{"a very long tag", "<R><PPCentry a='" + std::string(3'000'000, 'x') + "'/></R>",
               "a tag of more than 262144 bytes"},
           Row{"a date that is too long", "<R><ArchiveDate>" + large + "</ArchiveDate></R>", "ArchiveDate"},
       }) {
    const std::string fault = Fault(row.text);
    EXPECT_NE(fault, "") << row.name;
    EXPECT_THAT(fault, HasSubstr(row.reason)) << row.name;
    EXPECT_EQ(fault.find_first_of("\r\n"), std::string::npos) << row.name << ": one line";
    EXPECT_THAT(fault, testing::Not(HasSubstr("TOP-SECRET")));
  }
  EXPECT_EQ(Fault(deep(250)), "");
}

TEST_F(ScanPpc, FindsAFaultAtTheEndOfALargeFile) {
  EXPECT_NE(Fault("<R><PPCentry>" + std::string(2 * MaxExpandedPpcBytes, 'x') + "</PPCentry><R>"), "");
}

}  // namespace
}  // namespace fieldpost
