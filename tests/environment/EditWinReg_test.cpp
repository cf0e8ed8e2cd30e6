#include "environment/EditWinReg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "platform/SqliteKeyStore.h"
#include "support/TempFolder.h"

namespace fieldpost::test {
namespace {

using namespace std::string_literals;

class EditWinRegTest : public testing::Test {
 protected:
  static constexpr std::string_view Key = R"(SOFTWARE\Kestrel\Test)";

  void SetBytes(std::uint32_t type, std::string_view bytes) {
    OpenedKey key(keys_);
    ASSERT_EQ(key.Create(HKEY_LOCAL_MACHINE, Key, KeyAllAccess), KeyOk);
    ASSERT_EQ(keys_.SetValue(key.Handle(), "v", type, bytes), KeyOk);
  }
  RegValue RoundTrip(const RegValue& value, std::int32_t type) {
    registry_.CreateNewKey(HKEY_LOCAL_MACHINE, Key);
    registry_.SetKeyValue(HKEY_LOCAL_MACHINE, Key, "v", value, type);
    return registry_.QueryValue(HKEY_LOCAL_MACHINE, Key, "v");
  }

  TempFolder folder_;
  DiskFileSystem files_;
  SqliteKeyStore keys_{files_, folder_.Path() / "registry.sqlite"};
  EditWinReg registry_{keys_};
};

TEST_F(EditWinRegTest, ReturnsWhatWasWritten) {
  struct Case {
    RegValue written;
    std::int32_t type;
    RegValue read;
  };
  constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
  const std::vector<Case> cases{
      {"/srv/site"s, REG_SZ, "/srv/site"s},
      {""s, REG_SZ, ""s},
      {"x"s, REG_SZ, "x"s},
      {"Größe 中"s, REG_SZ, "Größe 中"s},
      {" blanks "s, REG_SZ, " blanks "s},
      {"cut\0here"s, REG_SZ, "cut"s},
      {std::int32_t{42}, REG_SZ, "42"s},
      {std::int32_t{-1}, REG_SZ, "-1"s},
      {std::int32_t{7}, REG_DWORD, std::int32_t{7}},
      {std::int32_t{0}, REG_DWORD, std::int32_t{0}},
      {std::int32_t{-1}, REG_DWORD, std::int32_t{-1}},
      {least, REG_DWORD, least},
      {" 123 "s, REG_DWORD, std::int32_t{123}},
      {"+12"s, REG_DWORD, std::int32_t{12}},
  };
  for (const Case& given : cases) EXPECT_EQ(RoundTrip(given.written, given.type), given.read);
}

TEST_F(EditWinRegTest, KeepsTheNumberWhenTheTextIsNotANumber) {
  ASSERT_EQ(RoundTrip(std::int32_t{5}, REG_DWORD), RegValue(5));
  for (const char* text : {"", "abc", "12x", "2147483648", "1 2", "+-3"}) {
    EXPECT_EQ(RoundTrip(std::string(text), REG_DWORD), RegValue(5)) << text;
  }
}

TEST_F(EditWinRegTest, ReturnsAnEmptyTextForMissingKeysAndValues) {
  EXPECT_EQ(registry_.QueryValue(HKEY_LOCAL_MACHINE, Key, ""), RegValue(""s));
  registry_.CreateNewKey(HKEY_LOCAL_MACHINE, Key);
  EXPECT_EQ(registry_.QueryValue(HKEY_LOCAL_MACHINE, Key, ""), RegValue(""s));
}

TEST_F(EditWinRegTest, CreatesNoKeyWhenItSetsAValue) {
  registry_.SetKeyValue(HKEY_LOCAL_MACHINE, Key, "", "x"s, REG_SZ);
  registry_.CreateNewKey(HKEY_LOCAL_MACHINE, Key);
  EXPECT_EQ(registry_.QueryValue(HKEY_LOCAL_MACHINE, Key, ""), RegValue(""s));
}

TEST_F(EditWinRegTest, ReadsValuesThatOtherProgramsStored) {
  struct Case {
    const char* name;
    std::uint32_t type;
    std::string bytes;
    RegValue value;
    std::int32_t status;
    RegValue raw;
  };
  const RegValue untouched = "untouched"s;
  const std::vector<Case> cases{
      {"bytes", KeyTypeBinary, "abc"s, ""s, -1, untouched},
      {"a text with variables", KeyTypeExpandableText, "%x%"s, ""s, -1, untouched},
      {"a text", KeyTypeText, "abc"s, "abc"s, 0, "abc\0"s},
      {"an empty text", KeyTypeText, ""s, ""s, 0, ""s},
      {"only a terminator", KeyTypeText, "\0"s, ""s, 0, "\0"s},
      {"a number", KeyTypeNumber, "\x01\x02\x03\x04"s, std::int32_t{0x04030201}, 0, std::int32_t{0x04030201}},
      {"a number of two bytes", KeyTypeNumber, "\x01\x02"s, std::int32_t{0x0201}, 0, std::int32_t{0x0201}},
      {"a number of five bytes", KeyTypeNumber, "\1\2\3\4\5"s, ""s, KeyMoreData, untouched},
  };
  for (const Case& given : cases) {
    SetBytes(given.type, given.bytes);
    EXPECT_EQ(registry_.QueryValue(HKEY_LOCAL_MACHINE, Key, "v"), given.value) << given.name;
    OpenedKey key(keys_);
    ASSERT_EQ(key.Open(HKEY_LOCAL_MACHINE, Key, KeyReadAccess), KeyOk);
    RegValue raw = untouched;
    EXPECT_EQ(registry_.QueryValueEx(key.Handle(), "v", raw), given.status) << given.name;
    EXPECT_EQ(raw, given.raw) << given.name;
  }
}

TEST_F(EditWinRegTest, ReturnsTheStatusForAnOpenKey) {
  registry_.CreateNewKey(HKEY_LOCAL_MACHINE, Key);
  OpenedKey key(keys_);
  ASSERT_EQ(key.Open(HKEY_LOCAL_MACHINE, Key, KeyAllAccess), KeyOk);
  RegValue value = "untouched"s;
  EXPECT_EQ(registry_.QueryValueEx(key.Handle(), "v", value), KeyMissing);
  EXPECT_EQ(value, RegValue("untouched"s));
  EXPECT_EQ(registry_.SetValueEx(key.Handle(), "v", 3, "bytes"s), 0) << "another type writes nothing";
  EXPECT_EQ(registry_.QueryValueEx(key.Handle(), "v", value), KeyMissing);
  EXPECT_EQ(registry_.SetValueEx(key.Handle(), "v", REG_SZ, "x"s), 0);
  EXPECT_EQ(registry_.SetValueEx(KeyHandle::None, "v", REG_SZ, "x"s), KeyBadHandle);
  EXPECT_EQ(registry_.SetValueEx(key.Handle(), "v", REG_DWORD, "not a number"s), KeyBadArgument);
}

TEST_F(EditWinRegTest, DeletesValuesAndKeysWithoutSubkeys) {
  ASSERT_EQ(RoundTrip("x"s, REG_SZ), RegValue("x"s));
  registry_.DeleteKey(HKEY_LOCAL_MACHINE, "SOFTWARE");
  EXPECT_EQ(registry_.QueryText(HKEY_LOCAL_MACHINE, Key, "v"), "x") << "a key with subkeys stays";
  registry_.DeleteValue(HKEY_LOCAL_MACHINE, Key, "V");
  EXPECT_EQ(registry_.QueryText(HKEY_LOCAL_MACHINE, Key, "v"), "");
  registry_.DeleteKey(HKEY_LOCAL_MACHINE, Key);
  OpenedKey key(keys_);
  EXPECT_EQ(key.Open(HKEY_LOCAL_MACHINE, Key, KeyReadAccess), KeyMissing);
  registry_.DeleteKey(HKEY_LOCAL_MACHINE, Key);
  registry_.DeleteValue(HKEY_LOCAL_MACHINE, Key, "v");
}

TEST_F(EditWinRegTest, ReturnsAnEmptyTextForANumberFromQueryText) {
  ASSERT_EQ(RoundTrip("text"s, REG_SZ), RegValue("text"s));
  EXPECT_EQ(registry_.QueryText(HKEY_LOCAL_MACHINE, Key, "v"), "text");
  ASSERT_EQ(RoundTrip(std::int32_t{7}, REG_DWORD), RegValue(7));
  EXPECT_EQ(registry_.QueryText(HKEY_LOCAL_MACHINE, Key, "v"), "");
}

TEST_F(EditWinRegTest, TreatsADamagedStoreAsEmpty) {
  const std::filesystem::path damaged = folder_.Write("damaged.sqlite", std::string(9000, 'd'));
  SqliteKeyStore keys(files_, damaged);
  EditWinReg registry(keys);
  registry.CreateNewKey(HKEY_LOCAL_MACHINE, Key);
  registry.SetKeyValue(HKEY_LOCAL_MACHINE, Key, "", "x"s, REG_SZ);
  EXPECT_EQ(registry.QueryValue(HKEY_LOCAL_MACHINE, Key, ""), RegValue(""s));
  EXPECT_EQ(ReadFile(damaged), std::string(9000, 'd'));
}

TEST_F(EditWinRegTest, UsesTheNumbersOfThePlatform) {
  EXPECT_EQ(static_cast<std::uintptr_t>(HKEY_LOCAL_MACHINE), 0x80000002U);
  EXPECT_EQ(REG_SZ, 1);
  EXPECT_EQ(REG_DWORD, 4);
}

}  // namespace
}  // namespace fieldpost::test
