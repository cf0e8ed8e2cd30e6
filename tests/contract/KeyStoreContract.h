// The contract of KeyStore, to be instantiated for each implementation.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/KeyStore.h"

namespace fieldpost::test {

/// A new, empty store under test, and the fixture that it needs.
struct KeyStoreUnderTest {
  std::shared_ptr<void> fixture;
  std::unique_ptr<KeyStore> store;
};

using KeyStoreMaker = std::function<KeyStoreUnderTest()>;

class KeyStoreContract : public testing::TestWithParam<KeyStoreMaker> {
 protected:
  static constexpr KeyHandle Root = KeyHandle::LocalMachine;

  KeyStoreUnderTest made_ = GetParam()();
  KeyStore& keys_ = *made_.store;

  KeyStatus Make(std::string_view name) {
    OpenedKey key(keys_);
    return key.Create(Root, name, KeyMayCreateSubkeys);
  }
  KeyStatus Open(std::string_view name) {
    OpenedKey key(keys_);
    return key.Open(Root, name, KeyReadAccess);
  }
  KeyStatus Set(std::string_view name, std::string_view value, std::uint32_t type, std::string_view bytes) {
    OpenedKey key(keys_);
    if (const KeyStatus status = key.Open(Root, name, KeyMaySetValues); status != KeyOk) return status;
    return keys_.SetValue(key.Handle(), value, type, bytes);
  }
  KeyStatus Query(std::string_view name, std::string_view value, KeyData& data) {
    OpenedKey key(keys_);
    if (const KeyStatus status = key.Open(Root, name, KeyReadAccess); status != KeyOk) return status;
    return keys_.QueryValue(key.Handle(), value, data);
  }
  std::string Bytes(std::string_view name, std::string_view value) {
    KeyData data{.type = 0, .bytes = "untouched"};
    static_cast<void>(Query(name, value, data));
    return data.bytes;
  }
  std::vector<std::string> Subkeys(std::string_view name) {
    OpenedKey key(keys_);
    std::vector<std::string> names{"untouched"};
    if (key.Open(Root, name, KeyReadAccess) == KeyOk)
      static_cast<void>(keys_.ListSubkeys(key.Handle(), names));
    return names;
  }
};

TEST_P(KeyStoreContract, EmptyStoreHasOnlyRoots) {
  std::vector<std::string> names{"untouched"};
  std::vector<NamedKeyData> values{{"untouched", {}}};
  KeyData data{.type = 9, .bytes = "untouched"};
  EXPECT_EQ(keys_.Check(), KeyOk);
  EXPECT_EQ(Open("SOFTWARE"), KeyMissing);
  EXPECT_EQ(keys_.QueryValue(Root, "x", data), KeyMissing);
  EXPECT_EQ(data, (KeyData{9, "untouched"}));
  EXPECT_EQ(keys_.ListSubkeys(Root, names), KeyOk);
  EXPECT_EQ(keys_.ListValues(Root, values), KeyOk);
  EXPECT_THAT(names, testing::IsEmpty());
  EXPECT_THAT(values, testing::IsEmpty());
  EXPECT_EQ(keys_.DeleteKey(Root, "SOFTWARE"), KeyMissing);
  EXPECT_EQ(keys_.DeleteTree(Root, "SOFTWARE"), KeyMissing);
  EXPECT_EQ(keys_.DeleteValue(Root, "x"), KeyMissing);
  EXPECT_EQ(keys_.Problem(), "");
}

TEST_P(KeyStoreContract, CreatingAKeyCreatesThoseAboveIt) {
  EXPECT_EQ(Make(R"(A\B\C)"), KeyOk);
  EXPECT_EQ(Open("A"), KeyOk);
  EXPECT_EQ(Open(R"(A\B)"), KeyOk);
  EXPECT_EQ(Open(R"(A\B\C)"), KeyOk);
  EXPECT_EQ(Open(R"(A\C)"), KeyMissing);
  EXPECT_EQ(Make(R"(A\B\C)"), KeyOk) << "a second time";
}

TEST_P(KeyStoreContract, NamesIgnoreCaseAndKeepTheirFirstSpelling) {
  ASSERT_EQ(Make(R"(SoftWare\Mixed)"), KeyOk);
  ASSERT_EQ(Make(R"(SOFTWARE\MIXED)"), KeyOk);
  EXPECT_THAT(Subkeys(""), testing::ElementsAre("SoftWare"));
  EXPECT_THAT(Subkeys("software"), testing::ElementsAre("Mixed"));
  ASSERT_EQ(Set("software", "ValueName", KeyTypeText, "one"), KeyOk);
  ASSERT_EQ(Set("software", "VALUENAME", KeyTypeText, "two"), KeyOk);
  OpenedKey key(keys_);
  ASSERT_EQ(key.Open(Root, "SOFTWARE", KeyReadAccess), KeyOk);
  std::vector<NamedKeyData> values;
  ASSERT_EQ(keys_.ListValues(key.Handle(), values), KeyOk);
  EXPECT_THAT(values,
              testing::ElementsAre(NamedKeyData{"ValueName", {KeyTypeText, std::string("two\0", 4)}}));
}

TEST_P(KeyStoreContract, KeepsNamesBeyondAscii) {
  ASSERT_EQ(Make("Köln\\Прочее"), KeyOk);
  ASSERT_EQ(Set("Köln", "Straße", KeyTypeText, "Größe"), KeyOk);
  EXPECT_THAT(Subkeys("Köln"), testing::ElementsAre("Прочее"));
  EXPECT_EQ(Bytes("Köln", "Straße"), std::string("Größe") + '\0');
}

TEST_P(KeyStoreContract, TextsAndTheirTerminators) {
  using namespace std::string_literals;
  struct Case {
    std::string name;
    std::string written;
    std::string read;
  };
  const std::vector<Case> cases{
      {"without its terminator", "abc"s, "abc\0"s},
      {"with its terminator", "abc\0"s, "abc\0"s},
      {"no bytes at all", ""s, ""s},
      {"nothing but a terminator", "\0"s, "\0"s},
      {"a NUL in the middle", "ab\0cd"s, "ab\0"s},
      {"a NUL in the middle and one at the end", "ab\0cd\0"s, "ab\0"s},
      {"two terminators", "ab\0\0"s, "ab\0"s},
      {"not ASCII", "Größe 中 😀"s, "Größe 中 😀\0"s},
      {"line breaks and blanks", " a\r\nb\t "s, " a\r\nb\t \0"s},
  };
  ASSERT_EQ(Make("K"), KeyOk);
  for (const Case& given : cases) {
    ASSERT_EQ(Set("K", given.name, KeyTypeText, given.written), KeyOk) << given.name;
    KeyData data;
    ASSERT_EQ(Query("K", given.name, data), KeyOk) << given.name;
    EXPECT_EQ(data, (KeyData{KeyTypeText, given.read})) << given.name;
  }
}

TEST_P(KeyStoreContract, KeepsTheBytesOfOtherTypes) {
  using namespace std::string_literals;
  ASSERT_EQ(Make("K"), KeyOk);
  for (const std::uint32_t type : {0U, KeyTypeBinary, KeyTypeNumber, 7U, 11U, 0xFFFFFFFFU}) {
    for (const std::string& bytes : {"\x07\0\0\0"s, ""s, "\0\xFFx"s}) {
      ASSERT_EQ(Set("K", "v", type, bytes), KeyOk) << type;
      KeyData data;
      ASSERT_EQ(Query("K", "v", data), KeyOk) << type;
      EXPECT_EQ(data, (KeyData{type, bytes}));
    }
  }
}

TEST_P(KeyStoreContract, KeepsALargeText) {
  const std::string text(1U << 20U, 'x');
  ASSERT_EQ(Make("K"), KeyOk);
  ASSERT_EQ(Set("K", "", KeyTypeText, text), KeyOk);
  EXPECT_EQ(Bytes("K", ""), text + '\0');
}

TEST_P(KeyStoreContract, ListsTheUnnamedDefaultValueFirst) {
  ASSERT_EQ(Make("K"), KeyOk);
  ASSERT_EQ(Set("K", "b", KeyTypeText, "2"), KeyOk);
  ASSERT_EQ(Set("K", "A", KeyTypeText, "1"), KeyOk);
  ASSERT_EQ(Set("K", "", KeyTypeText, "0"), KeyOk);
  OpenedKey key(keys_);
  ASSERT_EQ(key.Open(Root, "K", KeyReadAccess), KeyOk);
  std::vector<NamedKeyData> values;
  ASSERT_EQ(keys_.ListValues(key.Handle(), values), KeyOk);
  ASSERT_EQ(values.size(), 3U);
  EXPECT_EQ(values[0].name, "");
  EXPECT_EQ(values[1].name, "A");
  EXPECT_EQ(values[2].name, "b");
}

TEST_P(KeyStoreContract, DeleteKeyRefusesAKeyWithSubkeys) {
  ASSERT_EQ(Make(R"(A\B)"), KeyOk);
  ASSERT_EQ(Set("A", "v", KeyTypeText, "kept"), KeyOk);
  EXPECT_EQ(keys_.DeleteKey(Root, "a"), KeyRefused);
  EXPECT_EQ(Bytes("A", "v"), std::string("kept\0", 5));
  EXPECT_EQ(keys_.DeleteKey(Root, R"(a\b)"), KeyOk);
  EXPECT_EQ(keys_.DeleteKey(Root, "a"), KeyOk);
  EXPECT_EQ(Open("A"), KeyMissing);
}

TEST_P(KeyStoreContract, DeleteTreeDeletesEverythingBelowTheKeyOnly) {
  for (const char* name : {R"(A\B\C)", R"(A\D)", R"(AB\C)"}) ASSERT_EQ(Make(name), KeyOk);
  ASSERT_EQ(Set(R"(A\B)", "v", KeyTypeText, "gone"), KeyOk);
  EXPECT_EQ(keys_.DeleteTree(Root, "A"), KeyOk);
  EXPECT_EQ(Open("A"), KeyMissing);
  EXPECT_EQ(Open(R"(AB\C)"), KeyOk);
  ASSERT_EQ(Make(R"(A\B)"), KeyOk);
  EXPECT_EQ(Bytes(R"(A\B)", "v"), "untouched") << "a new key of the same name has none of the old values";
}

TEST_P(KeyStoreContract, RefusesToDeleteRoots) {
  ASSERT_EQ(Make("A"), KeyOk);
  EXPECT_EQ(keys_.DeleteKey(Root, ""), KeyRefused);
  EXPECT_EQ(keys_.DeleteTree(Root, ""), KeyRefused);
  EXPECT_EQ(Open("A"), KeyOk);
}

TEST_P(KeyStoreContract, RootsAreIndependent) {
  ASSERT_EQ(Make("A"), KeyOk);
  OpenedKey key(keys_);
  EXPECT_EQ(key.Open(KeyHandle::CurrentUser, "A", KeyReadAccess), KeyMissing);
  EXPECT_EQ(key.Open(KeyHandle::CurrentConfig, "A", KeyReadAccess), KeyMissing);
}

TEST_P(KeyStoreContract, DeletesAValue) {
  ASSERT_EQ(Make("K"), KeyOk);
  ASSERT_EQ(Set("K", "v", KeyTypeText, "x"), KeyOk);
  OpenedKey key(keys_);
  ASSERT_EQ(key.Open(Root, "K", KeyAllAccess), KeyOk);
  EXPECT_EQ(keys_.DeleteValue(key.Handle(), "V"), KeyOk);
  EXPECT_EQ(keys_.DeleteValue(key.Handle(), "V"), KeyMissing);
  EXPECT_EQ(Bytes("K", "v"), "untouched");
}

TEST_P(KeyStoreContract, EnforcesTheRightsOfAnOpenKey) {
  ASSERT_EQ(Make("K"), KeyOk);
  ASSERT_EQ(Set("K", "v", KeyTypeText, "x"), KeyOk);
  KeyData data;
  OpenedKey reading(keys_);
  ASSERT_EQ(reading.Open(Root, "K", KeyReadAccess), KeyOk);
  EXPECT_EQ(keys_.SetValue(reading.Handle(), "v", KeyTypeText, "y"), KeyRefused);
  EXPECT_EQ(keys_.DeleteValue(reading.Handle(), "v"), KeyRefused);
  OpenedKey writing(keys_);
  ASSERT_EQ(writing.Open(Root, "K", KeyMaySetValues), KeyOk);
  EXPECT_EQ(keys_.QueryValue(writing.Handle(), "v", data), KeyRefused);
  OpenedKey below(keys_);
  EXPECT_EQ(below.Create(reading.Handle(), "Sub", KeyAllAccess), KeyRefused);
  EXPECT_EQ(Bytes("K", "v"), std::string("x\0", 2));
}

TEST_P(KeyStoreContract, RejectsAClosedKey) {
  ASSERT_EQ(Make("K"), KeyOk);
  KeyHandle key = KeyHandle::None;
  KeyData data;
  ASSERT_EQ(keys_.OpenKey(Root, "K", KeyAllAccess, key), KeyOk);
  EXPECT_EQ(keys_.CloseKey(key), KeyOk);
  EXPECT_EQ(keys_.QueryValue(key, "v", data), KeyBadHandle);
  EXPECT_EQ(keys_.SetValue(key, "v", KeyTypeText, "x"), KeyBadHandle);
  EXPECT_EQ(keys_.CloseKey(key), KeyBadHandle);
  EXPECT_EQ(keys_.CloseKey(Root), KeyOk);
}

TEST_P(KeyStoreContract, RejectsAKeyThatWasDeletedWhileOpen) {
  ASSERT_EQ(Make("K"), KeyOk);
  OpenedKey key(keys_);
  KeyData data;
  ASSERT_EQ(key.Open(Root, "K", KeyAllAccess), KeyOk);
  ASSERT_EQ(keys_.DeleteKey(Root, "K"), KeyOk);
  EXPECT_EQ(keys_.SetValue(key.Handle(), "v", KeyTypeText, "x"), KeyDeleted);
  EXPECT_EQ(keys_.QueryValue(key.Handle(), "v", data), KeyDeleted);
  ASSERT_EQ(Make("K"), KeyOk);
  EXPECT_EQ(keys_.SetValue(key.Handle(), "v", KeyTypeText, "x"), KeyDeleted)
      << "the new key of that name is another one";
}

TEST_P(KeyStoreContract, RejectsInvalidNames) {
  EXPECT_EQ(Make(std::string(256, 'k')), KeyBadArgument);
  EXPECT_EQ(Make(std::string(255, 'k')), KeyOk);
  EXPECT_EQ(Make(std::string_view("a\0b", 3)), KeyBadArgument);
  EXPECT_EQ(Open("a"), KeyMissing);
}

}  // namespace fieldpost::test
