#include "reg/RegCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "platform/SqliteKeyStore.h"
#include "reg/RegKeyName.h"
#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

using testing::HasSubstr;

struct Outcome {
  int status;
  std::string out;
  std::string err;

  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* stream) {
  *stream << "status " << outcome.status << ", output \"" << outcome.out << "\", errors \"" << outcome.err
          << '"';
}

class RegCommandTest : public testing::Test {
 protected:
  using Words = std::vector<std::string>;

  Outcome Run(const Words& words) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = RunRegCommand(words, keys_, out, err);
    return {status, out.str(), err.str()};
  }

  /// The value of a key as the store holds it.
  KeyData Stored(std::string_view key, std::string_view value) {
    OpenedKey opened(keys_);
    KeyData data;
    EXPECT_EQ(opened.Open(KeyHandle::LocalMachine, key, KeyReadAccess), KeyOk);
    EXPECT_EQ(keys_.QueryValue(opened.Handle(), value, data), KeyOk);
    return data;
  }

  TempFolder folder_;
  DiskFileSystem files_;
  SqliteKeyStore keys_{files_, folder_.Path() / "registry.sqlite"};
};

const Outcome Done{0, "", ""};

TEST_F(RegCommandTest, AddedDataReadBackUnchanged) {
  for (const std::string data : {"/srv/site", "", " ", "Größe 中 😀", "a b", "[a,b]", "-5", "--ve", "--data",
                                 "{}", "%s", "\"q\"", "C:\\x\\", "two\nlines", "\xFF not UTF-8", "=x", "'"}) {
    EXPECT_EQ(Run({"add", R"(HKLM\K)", "--ve", "--data", data}), Done) << data;
    EXPECT_EQ(Run({"query", R"(HKLM\K)", "--ve"}), (Outcome{0, data + "\n", ""})) << data;
    EXPECT_EQ(Run({"add", R"(HKLM\K)", "--value", "n", "--data=" + data}), Done) << data;
    EXPECT_EQ(Run({"query", R"(HKLM\K)", "--value", "N"}), (Outcome{0, data + "\n", ""})) << data;
    EXPECT_EQ(Stored("k", "n").bytes, data.empty() ? data : data + '\0') << data;
  }
}

TEST_F(RegCommandTest, ReadsAndPrintsNumbers) {
  struct Case {
    std::string data;
    std::string printed;
  };
  for (const Case& given : std::vector<Case>{{"7", "7"},
                                             {"0", "0"},
                                             {"-1", "-1"},
                                             {"2147483647", "2147483647"},
                                             {"-2147483648", "-2147483648"},
                                             {"4294967295", "-1"},
                                             {"0x1F", "31"},
                                             {"0XffffFFFF", "-1"}}) {
    EXPECT_EQ(Run({"add", R"(HKLM\K)", "--value", "n", "--type", "reg_dword", "--data", given.data}), Done);
    EXPECT_EQ(Run({"query", R"(HKLM\K)", "--value", "n"}), (Outcome{0, given.printed + "\n", ""}))
        << given.data;
  }
  EXPECT_EQ(Stored("K", "n").type, KeyTypeNumber);
  EXPECT_EQ(Stored("K", "n").bytes, "\xFF\xFF\xFF\xFF");
  for (const char* data : {"", "x", "1x", "4294967296", "-2147483649", "0x", "0x-1", "1.5", " 1"}) {
    const Outcome outcome = Run({"add", R"(HKLM\New)", "--ve", "--type", "REG_DWORD", "--data", data});
    EXPECT_EQ(outcome.status, 2) << data;
    EXPECT_THAT(outcome.err, HasSubstr("not a 32-bit number")) << data;
  }
  EXPECT_EQ(Run({"query", R"(HKLM\New)"}).status, 1) << "a refused command creates no key";
}

TEST_F(RegCommandTest, AddsAKeyWithoutAValue) {
  EXPECT_EQ(Run({"add", R"(HKLM\A\B)"}), Done);
  EXPECT_EQ(Run({"add", R"(HKLM\A\B)"}), Done);
  EXPECT_EQ(Run({"query", R"(hklm\a)"}),
            (Outcome{0, "HKEY_LOCAL_MACHINE\\a\nHKEY_LOCAL_MACHINE\\a\\B\n", ""}));
}

TEST_F(RegCommandTest, AddsAnEmptyTextWithoutData) {
  EXPECT_EQ(Run({"add", R"(HKLM\A)", "--value", "v"}), Done);
  EXPECT_EQ(Run({"query", R"(HKLM\A)", "--value", "v"}), (Outcome{0, "\n", ""}));
}

TEST_F(RegCommandTest, QueryListsValuesAndSubkeys) {
  Run({"add", R"(HKLM\A\Sub2)"});
  Run({"add", R"(HKLM\A\sub1)"});
  Run({"add", R"(HKLM\A)", "--value", "Text", "--data", "a\nb"});
  Run({"add", R"(HKLM\A)", "--value", "Number", "--type", "REG_DWORD", "--data", "7"});
  Run({"add", R"(HKLM\A)", "--ve", "--data", "x"});
  OpenedKey key(keys_);
  ASSERT_EQ(key.Open(KeyHandle::LocalMachine, "A", KeyAllAccess), KeyOk);
  ASSERT_EQ(keys_.SetValue(key.Handle(), "Zbytes", KeyTypeBinary, "\x01\xAB"), KeyOk);
  EXPECT_EQ(Run({"query", R"(HKLM\A)"}).out,
            "HKEY_LOCAL_MACHINE\\A\n"
            "    (Default)    REG_SZ    x\n"
            "    Number    REG_DWORD    7\n"
            "    Text    REG_SZ    a\\x0Ab\n"
            "    Zbytes    REG_BINARY    01ab\n"
            "HKEY_LOCAL_MACHINE\\A\\sub1\n"
            "HKEY_LOCAL_MACHINE\\A\\Sub2\n");
}

TEST_F(RegCommandTest, PrintsEveryTypeOfValue) {
  KeyHandle key = KeyHandle::None;
  ASSERT_EQ(keys_.CreateKey(KeyHandle::LocalMachine, "K", KeyAllAccess, key), KeyOk);
  const struct {
    const char* name;
    std::uint32_t type;
    std::string bytes;
    const char* type_name;
    const char* data;
  } rows[] = {{"a", KeyTypeExpandableText, std::string("%x%\0", 4), "REG_EXPAND_SZ", "%x%"},
              {"b", KeyTypeBinary, "\x01\xAB", "REG_BINARY", "01ab"},
              {"c", KeyTypeNumber, "\x01", "REG_DWORD", "01"},
              {"d", 77, "z", "REG_TYPE_77", "7a"}};
  for (const auto& row : rows) {
    ASSERT_EQ(keys_.SetValue(key, row.name, row.type, row.bytes), KeyOk) << row.name;
    EXPECT_EQ(Run({"query", R"(HKLM\K)", "--value", row.name}),
              (Outcome{0, std::string(row.data) + "\n", ""}));
    EXPECT_THAT(Run({"query", R"(HKLM\K)"}).out, HasSubstr(row.type_name)) << row.name;
  }
}

TEST_F(RegCommandTest, ReportsWhatIsMissingAndCreatesNothing) {
  EXPECT_EQ(Run({"query", "HKLM"}), (Outcome{0, "HKEY_LOCAL_MACHINE\n", ""}));
  for (const Words& words : std::vector<Words>{{"query", R"(HKLM\A)"},
                                               {"query", R"(HKLM\A)", "--ve"},
                                               {"query", "HKLM", "--ve"},
                                               {"delete", R"(HKLM\A)"},
                                               {"delete", R"(HKLM\A)", "--value", "v"}}) {
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err, "");
  }
  EXPECT_THAT(Names(folder_.Path()), testing::IsEmpty());
}

TEST_F(RegCommandTest, ListsTheNearestKeyWhenAKeyIsMissing) {
  Run({"add", R"(HKLM\SOFTWARE\Kestrel)"});
  Run({"add", R"(HKLM\SOFTWARE\Other)"});
  EXPECT_EQ(Run({"query", R"(HKLM\SOFTWARE\Kestrl\X)", "--ve"}).err,
            "fieldpost-reg: no such key: HKEY_LOCAL_MACHINE\\SOFTWARE\\Kestrl\\X\n"
            "HKEY_LOCAL_MACHINE\\SOFTWARE has: Kestrel, Other\n");
  EXPECT_EQ(Run({"query", R"(HKLM\SOFTWARE\Other)", "--value", "v"}).err,
            "fieldpost-reg: HKEY_LOCAL_MACHINE\\SOFTWARE\\Other does not have the value \"v\"\n");
}

TEST_F(RegCommandTest, DeletesValuesKeysAndTrees) {
  Run({"add", R"(HKLM\A\B)", "--value", "v", "--data", "x"});
  Run({"add", R"(HKLM\A\B)", "--ve", "--data", "y"});
  EXPECT_EQ(Run({"delete", R"(HKLM\A\B)", "--value", "V"}), Done);
  EXPECT_EQ(Run({"query", R"(HKLM\A\B)", "--value", "v"}).status, 1);
  EXPECT_EQ(Run({"query", R"(HKLM\A\B)", "--ve"}).out, "y\n");
  EXPECT_EQ(Run({"delete", R"(HKLM\A\B)", "--ve"}), Done);
  EXPECT_EQ(Run({"delete", R"(HKLM\A)"}), Done) << "a key is deleted with its subkeys";
  EXPECT_EQ(Run({"query", "HKLM"}).out, "HKEY_LOCAL_MACHINE\n");
}

TEST_F(RegCommandTest, RejectsWrongCommandLines) {
  struct Case {
    Words words;
    const char* says;
  };
  for (const Case& given :
       std::vector<Case>{{{}, "subcommand is required"},
                         {{"add"}, "KEY is required"},
                         {{"frob", "HKLM"}, "subcommand is required"},
                         {{"query", R"(HKLM\A)", "--odd"}, "--odd"},
                         {{"query", R"(HKLM\A)", "--ve", "--value", "v"}, "excludes"},
                         {{"query", R"(HKLM\A)", "--data", "x"}, "--data"},
                         {{"add", R"(HKLM\A)", "--data", "x"}, "--ve"},
                         {{"add", R"(HKLM\A)", "--ve", "--type", "REG_DWORD"}, "needs --data"},
                         {{"add", R"(HKLM\A)", "--ve", "--type", "REG_ODD"}, "REG_ODD"},
                         {{"delete", "HKLM"}, "root"},
                         {{"query", R"(SOFTWARE\A)"}, "does not begin with a root"},
                         {{"query", "HKLMSOFTWAREKestrel"}, "single quotes"},
                         {{"query", R"(HKLMX\A)"}, "does not begin with a root"}}) {
    const Outcome outcome = Run(given.words);
    EXPECT_EQ(outcome.status, 2) << given.says;
    EXPECT_EQ(outcome.out, "") << given.says;
    EXPECT_THAT(outcome.err, HasSubstr(given.says));
  }
  EXPECT_THAT(Names(folder_.Path()), testing::IsEmpty());
}

TEST_F(RegCommandTest, HelpSucceeds) {
  const Outcome outcome = Run({"--help"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("query"));
}

TEST_F(RegCommandTest, NamesADamagedStore) {
  const std::filesystem::path file = folder_.Write("registry.sqlite", std::string(9000, 'd'));
  for (const Words& words : std::vector<Words>{
           {"add", R"(HKLM\A)"}, {"query", R"(HKLM\A)"}, {"query", "HKLM"}, {"delete", R"(HKLM\A)"}}) {
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr(Utf8FromPath(file)));
    EXPECT_THAT(outcome.err, HasSubstr("damaged"));
  }
}

TEST(RegKeyNameTest, ParsesAndPrintsNames) {
  struct Case {
    const char* text;
    const char* full;
  };
  for (const Case& given : std::vector<Case>{{R"(HKLM\SOFTWARE\A)", R"(HKEY_LOCAL_MACHINE\SOFTWARE\A)"},
                                             {R"(hkey_local_machine\a)", R"(HKEY_LOCAL_MACHINE\a)"},
                                             {R"(HKLM\\A\\B)", R"(HKEY_LOCAL_MACHINE\A\B)"},
                                             {R"(HKLM\A\)", R"(HKEY_LOCAL_MACHINE\A)"},
                                             {R"(HKLM\A/B)", R"(HKEY_LOCAL_MACHINE\A/B)"},
                                             {"HKLM/A/B", R"(HKEY_LOCAL_MACHINE\A\B)"},
                                             {"HKLM", "HKEY_LOCAL_MACHINE"},
                                             {R"(HKLM\)", "HKEY_LOCAL_MACHINE"},
                                             {R"(HKCU\A)", R"(HKEY_CURRENT_USER\A)"},
                                             {R"(HKCR\A)", R"(HKEY_CLASSES_ROOT\A)"},
                                             {R"(HKU\A)", R"(HKEY_USERS\A)"},
                                             {R"(HKCC\A)", R"(HKEY_CURRENT_CONFIG\A)"}}) {
    const std::optional<RegKeyName> key = ParseRegKeyName(given.text);
    ASSERT_TRUE(key) << given.text;
    EXPECT_EQ(FullName(*key), given.full) << given.text;
  }
  for (const char* text : {"", "A", R"(\HKLM\A)", "HKLMA", R"( HKLM\A)"})
    EXPECT_FALSE(ParseRegKeyName(text)) << text;
}

}  // namespace
}  // namespace fieldpost::test
