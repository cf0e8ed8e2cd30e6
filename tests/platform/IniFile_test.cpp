#include "platform/IniFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/ProcessorTime.h"
#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

class IniFileTest : public testing::Test {
 protected:
  std::string Read(std::string_view content, std::string_view section = "S", std::string_view key = "K") {
    return ReadIniValue(files_, folder_.Write("f.ini", content), section, key);
  }
  /// Returns the content of a file after K of S was set.
  std::string Written(std::string_view content, std::string_view value) {
    const fs::path file = folder_.Write("f.ini", content);
    EXPECT_TRUE(WriteIniValue(files_, file, "S", "K", value, FileAccess::ByUmask));
    return ReadFile(file);
  }

  TempFolder folder_;
  DiskFileSystem files_;
  fs::path file_ = folder_.Path() / "f.ini";
};

TEST_F(IniFileTest, ReadsAValueAsThePlatformDoes) {
  struct Case {
    const char* name;
    std::string content;
    std::string value;
  };
  const std::vector<Case> cases{
      {"plain", "[S]\nK=v\n", "v"},
      {"CR LF", "[S]\r\nK=v\r\n", "v"},
      {"CR alone", "[S]\rK=v\r", "v"},
      {"no end at the last line", "[S]\nK=v", "v"},
      {"another case", "[s]\nk=v\n", "v"},
      {"blanks round everything", "  [ S ] \n\t K \t = \t v w \t\n", "v w"},
      {"double quotes", "[S]\nK=\" v \"\n", " v "},
      {"one pair only", "[S]\nK=\"\"v\"\"\n", "\"v\""},
      {"a quote at one end", "[S]\nK=\"v\n", "\"v"},
      {"a single quote", "[S]\nK=\"\n", "\""},
      {"empty quotes", "[S]\nK=\"\"\n", ""},
      {"single quotes stay", "[S]\nK='v'\n", "'v'"},
      {"more than one equals sign", "[S]\nK=a=b\n", "a=b"},
      {"a semicolon in the value", "[S]\nK=a ; b\n", "a ; b"},
      {"empty value", "[S]\nK=\n", ""},
      {"the first of repeated keys", "[S]\nK=1\nK=2\n", "1"},
      {"the first of repeated keys, though empty", "[S]\nK=\nK=2\n", ""},
      {"a second section of the name is invisible", "[S]\nA=1\n[T]\n[S]\nK=2\n", ""},
      {"another section", "[T]\nK=1\n[S]\nK=2\n[U]\nK=3\n", "2"},
      {"a key above all sections", "K=1\n[S]\n", ""},
      {"a comment", "[S]\n;K=1\n ; K=2\nK=3\n", "3"},
      {"a line without an equals sign is no key", "[S]\nK\nK=1\n", "1"},
      {"no key before the equals sign", "[S]\n=1\nK=2\n", "2"},
      {"a longer key", "[S]\nKK=1\nK=2\n", "2"},
      {"text behind the section", "[S] ; the section\nK=v\n", "v"},
      {"brackets behind the section", "[S] ; [the] section\nK=v\n", "v"},
      {"a section that is not closed", "[T]\nK=1\n[S\nK=2\n", ""},
      {"a byte order mark", "\xEF\xBB\xBF[S]\nK=v\n", "v"},
      {"a NUL in the value", "[S]\nK=a\0b\n"s, "a"},
      {"not UTF-8", "[S]\nK=na\xEFve\n", "na\xEFve"},
      {"no such section", "[T]\nK=v\n", ""},
      {"no such key", "[S]\nJ=v\n", ""},
      {"an empty file", "", ""},
      {"garbage", "\0\xFF[[[]]]==\n\r\r\n[S\n]=\"\n"s, ""},
      {"UTF-16", "\xFF\xFE[\0S\0]\0\n\0K\0=\0v\0"s, ""},
  };
  for (const Case& given : cases) EXPECT_EQ(Read(given.content), given.value) << given.name;
}

TEST_F(IniFileTest, ReadsAValueUpTo255Characters) {
  const auto length = [this](const std::string& value) { return Read("[S]\nK=" + value + "\n").size(); };
  std::string umlauts;
  for (int i = 0; i < 300; ++i) umlauts += "ä";
  EXPECT_EQ(length(std::string(254, 'x')), 254U);
  EXPECT_EQ(length(std::string(255, 'x')), 255U);
  EXPECT_EQ(length(std::string(256, 'x')), 255U);
  EXPECT_EQ(length(umlauts), 510U) << "characters, not bytes";
  EXPECT_EQ(length(std::string(300, '\xA4')), 255U) << "bytes that are not UTF-8";
  EXPECT_EQ(length(std::string(1U << 20U, 'x')), 255U);
}

TEST_F(IniFileTest, ReadsSeveralValuesWithoutCutting) {
  const std::string large(1U << 20U, 'x');
  folder_.Write("f.ini", "[S]\nA=" + large + "\nB=b\n");
  const std::vector<std::string_view> keys{"B", "A", "missing"};
  EXPECT_EQ(ReadIniValues(files_, file_, "S", keys), (std::vector<std::string>{"b", large, ""}));
}

TEST_F(IniFileTest, ReadingAMissingFileReturnsEmptyAndDoesNotCreateIt) {
  EXPECT_EQ(ReadIniValue(files_, file_, "S", "K"), "");
  EXPECT_EQ(ReadIniValue(files_, folder_.Path() / "no" / "f.ini", "S", "K"), "");
  EXPECT_THAT(Names(folder_.Path()), testing::IsEmpty());
}

TEST_F(IniFileTest, ChangesOneLine) {
  struct Case {
    const char* name;
    std::string before;
    std::string value;
    std::string after;
  };
  const std::vector<Case> cases{
      {"a value", "[S]\nK=old\nL=1\n", "new", "[S]\nK=new\nL=1\n"},
      {"spelling and blanks are kept", " [s]\r\n k  =  old  \r\nL=1\r\n", "new",
       " [s]\r\n k  =  new\r\nL=1\r\n"},
      {"the first of repeated keys", "[S]\nK=1\nK=2\n", "3", "[S]\nK=3\nK=2\n"},
      {"the first of repeated sections", "[S]\nA=1\n[S]\nK=2\n", "3", "[S]\nA=1\nK=3\n[S]\nK=2\n"},
      {"a new key after the last one", "[S]\nA=1\n\n; of T\n[T]\n", "v", "[S]\nA=1\nK=v\n\n; of T\n[T]\n"},
      {"a new key in an empty section", "[S]\n\n[T]\n", "v", "[S]\nK=v\n\n[T]\n"},
      {"a new section", "[T]\r\nA=1\r\n", "v", "[T]\r\nA=1\r\n[S]\r\nK=v\r\n"},
      {"a new section after a line without its end", "[T]\r\nA=1", "v", "[T]\r\nA=1\r\n[S]\r\nK=v\r\n"},
      {"a new key after a line without its end", "[S]\nA=1", "v", "[S]\nA=1\nK=v\n"},
      {"a last line without an end keeps none", "[S]\nK=old", "new", "[S]\nK=new"},
      {"mixed line ends", "[S]\r\nA=1\n\r[T]\n", "v", "[S]\r\nA=1\nK=v\n\r[T]\n"},
      {"an empty file", "", "v", "[S]\nK=v\n"},
      {"a byte order mark", "\xEF\xBB\xBF[S]\nK=old\n", "new", "\xEF\xBB\xBF[S]\nK=new\n"},
      {"only a byte order mark", "\xEF\xBB\xBF", "new", "\xEF\xBB\xBF[S]\nK=new\n"},
      {"malformed lines are kept", "\xFF\0=\x1A[\n[S]\nK=old\n\x80\n"s, "n",
       "\xFF\0=\x1A[\n[S]\nK=n\n\x80\n"s},
      {"an empty value replaces another", "[S]\nK=old\n", "", "[S]\nK=\n"},
      {"an empty value after blanks", "[S]\nK =   old\n", "", "[S]\nK =   \n"},
      {"a value replaces an empty one", "[S]\nK=   \n", "v", "[S]\nK=v\n"},
      {"a quoted value is replaced", "[S]\nK=\"old\"\n", "new", "[S]\nK=new\n"},
      {"a value with a NUL is replaced", "[S]\nK=a\0b\n"s, "a", "[S]\nK=a\n"},
  };
  for (const Case& given : cases) {
    EXPECT_EQ(Written(given.before, given.value), given.after) << given.name;
    EXPECT_EQ(ReadIniValue(files_, file_, "S", "K"), given.value) << given.name;
  }
}

TEST_F(IniFileTest, EveryValidValueReadsBackUnchanged) {
  for (const std::string& value : {"v"s,        " v"s,       "v "s,     "\tv"s,  " "s,
                                   "\""s,       "\"\""s,     "\"v\""s,  "\" v"s, "a\"b"s,
                                   "=x"s,       ";x"s,       "[x]"s,    "'v'"s,  "Größe"s,
                                   "\xFF\xFE"s, "\x01\x1A"s, "a\\b\\"s, "%s{}"s, std::string(255, '"')}) {
    Written("[S]\nK=old\n", value);
    EXPECT_EQ(ReadIniValue(files_, file_, "S", "K"), value) << value;
    Written("", value);
    EXPECT_EQ(ReadIniValue(files_, file_, "S", "K"), value) << value;
  }
}

TEST_F(IniFileTest, WritesNothingWhenTheValueIsUnchanged) {
  for (const char* content : {"[S]\nK=v", "[s]\n k = \"v\" \n", "[S]\nK=v\nK=other\n"}) {
    const FileStamp before = files_.Stamp(folder_.Write("f.ini", content));
    EXPECT_TRUE(WriteIniValue(files_, file_, "S", "K", "v", FileAccess::OwnerOnly));
    EXPECT_EQ(files_.Stamp(file_), before) << content;
  }
  fs::remove(file_);
  EXPECT_TRUE(WriteIniValue(files_, file_, "S", "K", "", FileAccess::ByUmask))
      << "a missing key has an empty value";
  EXPECT_FALSE(fs::exists(file_));
}

TEST_F(IniFileTest, RefusesWhatWouldBreakTheFile) {
  const fs::path file = folder_.Write("f.ini", "[S]\nK=old\n");
  struct Case {
    std::string section, key, value;
  };
  for (const Case& given : std::vector<Case>{{"S", "K", "a\nb"},
                                             {"S", "K", "a\rb"},
                                             {"S", "K", "a\0b"s},
                                             {"S", "K", "v\n"},
                                             {"S", "", "v"},
                                             {"S", "a=b", "v"},
                                             {"S", ";K", "v"},
                                             {"S", "[K]", "v"},
                                             {"S", " K", "v"},
                                             {"S", "K\n", "v"},
                                             {"", "K", "v"},
                                             {"S]", "K", "v"},
                                             {"S\n", "K", "v"}}) {
    EXPECT_FALSE(WriteIniValue(files_, file, given.section, given.key, given.value, FileAccess::ByUmask));
    EXPECT_EQ(ReadFile(file), "[S]\nK=old\n");
  }
}

TEST_F(IniFileTest, WritesSeveralValuesOrNone) {
  const fs::path file = folder_.Write("f.ini", "[S]\nA=1\nB=2\n");
  const std::vector<IniEntry> good{{"A", "x"}, {"C", "3"}, {"B", ""}};
  EXPECT_EQ(WriteIniValues(files_, file, "S", good, FileAccess::ByUmask), "");
  EXPECT_EQ(ReadFile(file), "[S]\nA=x\nB=\nC=3\n");
  const std::vector<IniEntry> bad{{"A", "y"}, {"B", "line\nbreak"}};
  EXPECT_THAT(WriteIniValues(files_, file, "S", bad, FileAccess::ByUmask),
              testing::HasSubstr("a line break"));
  EXPECT_EQ(ReadFile(file), "[S]\nA=x\nB=\nC=3\n");
}

TEST_F(IniFileTest, KeepsAFileThatCannotBeEdited) {
  const std::string utf16 = "\xFF\xFE[\0S\0]\0"s;
  EXPECT_FALSE(WriteIniValue(files_, folder_.Write("f.ini", utf16), "S", "K", "v", FileAccess::ByUmask));
  EXPECT_EQ(ReadFile(file_), utf16);
  EXPECT_THAT(IniFileProblem(files_, file_), testing::HasSubstr("UTF-16"));
  folder_.Folder("folder.ini/inside");
  EXPECT_FALSE(WriteIniValue(files_, folder_.Path() / "folder.ini", "S", "K", "v", FileAccess::ByUmask));
  EXPECT_EQ(ReadIniValue(files_, folder_.Path() / "folder.ini", "S", "K"), "");
  EXPECT_NE(IniFileProblem(files_, folder_.Path() / "folder.ini"), "");
  EXPECT_FALSE(WriteIniValue(files_, folder_.Path() / "no" / "f.ini", "S", "K", "v", FileAccess::ByUmask));
  EXPECT_EQ(IniFileProblem(files_, folder_.Path() / "missing.ini"), "");
}

TEST_F(IniFileTest, ReadsAFileUpToTheLimit) {
  constexpr std::size_t largest = 2U << 20U;
  std::string content = "[S]\nK=v\n;";
  content.resize(largest, 'x');
  folder_.Write("f.ini", content);
  EXPECT_EQ(IniFileProblem(files_, file_), "");
  EXPECT_EQ(ReadIniValue(files_, file_, "S", "K"), "v");
  folder_.Write("f.ini", content += 'x');
  EXPECT_THAT(IniFileProblem(files_, file_), testing::EndsWith("larger than 2097152 bytes"));
  EXPECT_EQ(ReadIniValue(files_, file_, "S", "K"), "");
  EXPECT_FALSE(WriteIniValue(files_, file_, "S", "K", "w", FileAccess::ByUmask));
  EXPECT_EQ(ReadFile(file_), content);
}

TEST_F(IniFileTest, CreatesTheFileWithTheAccessAskedFor) {
  const auto mine = fs::perms::owner_read | fs::perms::owner_write;
  ASSERT_TRUE(WriteIniValue(files_, file_, "S", "K", "v", FileAccess::OwnerOnly));
  EXPECT_EQ(fs::status(file_).permissions(), mine);
  fs::permissions(file_, mine | fs::perms::group_read);
  ASSERT_TRUE(WriteIniValue(files_, file_, "S", "K", "w", FileAccess::ByUmask));
  EXPECT_EQ(fs::status(file_).permissions(), mine | fs::perms::group_read)
      << "an existing file keeps its permissions";
  EXPECT_THAT(Names(folder_.Path()), testing::ElementsAre("f.ini")) << "no temporary file is left";
}

TEST_F(IniFileTest, TakesTimeProportionalToTheFile) {
  const auto seconds = [this](std::size_t lines) {
    std::string content = "[S]\r\n";
    for (std::size_t i = 0; i < lines; ++i) content += "Key" + std::to_string(i) + "=x\r\n";
    folder_.Write("f.ini", content);
    std::vector<std::string> keys;
    for (int i = 0; i < 20; ++i) keys.push_back("New" + std::to_string(i));
    std::vector<IniEntry> entries;
    for (const std::string& key : keys) entries.push_back({key, "v"});
    const double start = ProcessorSeconds();
    EXPECT_EQ(WriteIniValues(files_, file_, "S", entries, FileAccess::ByUmask), "");
    return ProcessorSeconds() - start;
  };
  EXPECT_LT(seconds(50'000), 5.0) << "quadratic time would be minutes";
}

TEST_F(IniFileTest, FindsAFileIgnoringCase) {
  const fs::path folder = folder_.Folder("inst");
  EXPECT_EQ(FindFileNoCase(files_, folder, "faultlog.ini"), folder / "faultlog.ini") << "missing";
  folder_.Write("inst/xfaultlog.ini", "");
  folder_.Write("inst/Faultlog.ini", "");
  EXPECT_EQ(FindFileNoCase(files_, folder, "faultlog.ini"), folder / "Faultlog.ini");
  folder_.Write("inst/FAULTLOG.INI", "");
  EXPECT_EQ(FindFileNoCase(files_, folder, "faultlog.ini"), folder / "FAULTLOG.INI")
      << "the first by its bytes";
  folder_.Write("inst/faultlog.ini", "");
  EXPECT_EQ(FindFileNoCase(files_, folder, "faultlog.ini"), folder / "faultlog.ini") << "the exact spelling";
  EXPECT_EQ(FindFileNoCase(files_, folder / "no", "faultlog.ini"), folder / "no" / "faultlog.ini");
}

}  // namespace
}  // namespace fieldpost::test
