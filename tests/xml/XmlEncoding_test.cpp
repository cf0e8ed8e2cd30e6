#include "xml/XmlEncoding.h"

#include <gmock/gmock.h>

#include "xml/XmlError.h"

namespace fieldpost {
namespace {

TEST(DeclaredEncoding, ReturnsTheEncodingOfTheXmlDeclaration) {
  struct Row {
    const char* text;
    const char* encoding;
  };
  for (const Row& row : {
           Row{"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><R/>", "ISO-8859-1"},
           Row{"<?xml version='1.0'\n encoding = 'utf-8' standalone='yes'?>", "utf-8"},
           Row{"<?xml version=\"1.0\"?><R encoding=\"x\"/>", ""},
           Row{"<?xmlish encoding='x'?>", ""},
           Row{"<R encoding='x'/>", ""},
           Row{"<?xml encoding='x", ""},
           Row{"<?xml encoding", ""},
           Row{"", ""},
       }) {
    EXPECT_EQ(DeclaredEncoding(row.text), row.encoding) << row.text;
  }
}

TEST(XmlEncodingAppendTo, WritesMissingCharactersAsReferences) {
  struct Row {
    const char* encoding;
    const char* bytes;
  };
  for (const Row& row : {
           Row{"", "ä€🔧"},
           Row{"utf-8", "ä€🔧"},
           Row{"ISO-8859-1", "\xE4&#8364;&#128295;"},
           Row{"windows-1252", "\xE4\x80&#128295;"},
           Row{"US-ASCII", "&#228;&#8364;&#128295;"},
       }) {
    XmlEncoding encoding(row.encoding);
    std::string text = "before ";
    encoding.AppendTo(text, "ä€🔧");
    EXPECT_EQ(text, std::string("before ") + row.bytes) << row.encoding;
  }
}

TEST(XmlEncodingAppendTo, WritesLongTexts) {
  XmlEncoding encoding("ISO-8859-1");
  std::string text;
  std::string utf8;
  for (int i = 0; i < 100000; ++i) utf8 += "ä€";
  encoding.AppendTo(text, utf8);
  EXPECT_EQ(text.size(), 100000U * 8);
  EXPECT_THAT(text, testing::EndsWith("\xE4&#8364;"));
}

TEST(XmlEncodingToUtf8, KeepsACutOffCharacterForTheNextCall) {
  XmlEncoding encoding("UTF-16BE");
  EXPECT_EQ(encoding.ToUtf8(std::string_view("\0a\xD8", 3)), "a");
  EXPECT_TRUE(encoding.IsCutOff());
  EXPECT_EQ(encoding.ToUtf8("\x3D\xDD\x27"), "🔧");
  EXPECT_FALSE(encoding.IsCutOff());
}

TEST(XmlEncodingToUtf8, RefusesBytesThatTheEncodingLacks) {
  XmlEncoding encoding("windows-1252");
  EXPECT_THROW(encoding.ToUtf8("a\x81z"), XmlError);
  EXPECT_THROW(XmlEncoding("no-such-encoding"), XmlError);
}

TEST(XmlEncoding, AcceptsOnlyEncodingsThatCanBeWrittenInPieces) {
  for (const char* name : {"UTF-7", "ISO-2022-JP", "ISO-2022-KR", "ISO-2022-CN", "UTF-32"}) {
    try {
      const XmlEncoding encoding(name);
      ADD_FAILURE() << name;
    } catch (const XmlError& fault) {
      EXPECT_STREQ(fault.what(), std::string("cannot write the encoding ").append(name).c_str());
    }
  }
  for (const char* name : {"ISO-8859-15", "windows-1251", "EUC-JP", "Shift_JIS", "GB18030", "Big5", "KOI8-R",
                           "EUC-KR", "US-ASCII", "UTF-16LE", "UTF-16BE", "UTF-32LE", "IBM037"}) {
    EXPECT_NO_THROW(XmlEncoding{name}) << name;
  }
}

}  // namespace
}  // namespace fieldpost
