// Fuzz target of SqliteKeyStore and EditWinReg. An input is four lines with a key, a value name, another key
// and another value name, and then the data.
#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/Text.h"
#include "environment/EditWinReg.h"
#include "fuzz/Fuzz.h"
#include "platform/SqliteKeyStore.h"
#include "support/TempFolder.h"

namespace fieldpost::fuzz {
namespace {

constexpr KeyHandle Root = KeyHandle::LocalMachine;
const KeyData Untouched{.type = 9, .bytes = {}};

/// The store of all inputs. Each input leaves it empty.
struct Store {
  test::TempFolder folder;
  DiskFileSystem files;
  SqliteKeyStore keys{files, folder.Path() / "registry.sqlite"};
};

Store& TheStore() {
  static Store store;
  return store;
}

struct Place {
  std::string_view key;
  std::string_view value;
};

/// Returns a key as the store compares it: in lower case, without empty parts.
std::string Normalised(std::string_view key) {
  std::string result;
  for (const char c : ToLowerAscii(key)) {
    if (c != '\\' || (!result.empty() && result.back() != '\\')) result += c;
  }
  if (result.ends_with('\\')) result.pop_back();
  return result;
}

bool IsSame(const Place& left, const Place& right) {
  return Normalised(left.key) == Normalised(right.key) && EqualNoCase(left.value, right.value);
}

KeyStatus Set(KeyStore& keys, const Place& place, const KeyData& data) {
  OpenedKey key(keys);
  const KeyStatus made = key.Create(Root, place.key, KeyAllAccess);
  return made == KeyOk ? keys.SetValue(key.Handle(), place.value, data.type, data.bytes) : made;
}

KeyStatus Query(KeyStore& keys, const Place& place, KeyData& data) {
  OpenedKey key(keys);
  const KeyStatus opened = key.Open(Root, place.key, KeyReadAccess);
  return opened == KeyOk ? keys.QueryValue(key.Handle(), place.value, data) : opened;
}

/// Returns the data that are read after `written` was stored: a text ends in its first terminator.
KeyData Expected(const KeyData& written) {
  if (written.type != KeyTypeText || written.bytes.empty()) return written;
  return {written.type, written.bytes.substr(0, written.bytes.find('\0')) + '\0'};
}

bool CheckRoundTrip(KeyStore& keys, const Place& place, const KeyData& data) {
  KeyData read = Untouched;
  const KeyStatus set = Set(keys, place, data);
  Expect(set == KeyOk || set == KeyBadArgument, "a value is stored or rejected");
  const KeyStatus queried = Query(keys, place, read);
  if (set != KeyOk) {
    Expect(queried == KeyBadArgument || queried == KeyMissing, "a rejected value is missing");
    Expect(read == Untouched, "a failure changes no output");
    return false;
  }
  Expect(queried == KeyOk && read == Expected(data), "a stored value is read back");
  return true;
}

void CheckLists(KeyStore& keys, const Place& place) {
  OpenedKey key(keys);
  Expect(key.Open(Root, place.key, KeyReadAccess) == KeyOk, "a created key can be opened");
  std::vector<NamedKeyData> values;
  Expect(keys.ListValues(key.Handle(), values) == KeyOk, "values can be listed");
  const auto isIt = [&place](const NamedKeyData& value) { return value.name == place.value; };
  Expect(std::count_if(values.begin(), values.end(), isIt) == 1, "a value is listed once");
  Expect(key.Open(Root, ToLowerAscii(place.key), KeyReadAccess) == KeyOk, "case is ignored");
}

/// Checks writing, reading and deleting through EditWinReg, for names that the store accepts.
void CheckRegistry(KeyStore& keys, const Place& place, std::string_view data) {
  EditWinReg registry(keys);
  registry.CreateNewKey(Root, place.key);
  const std::string text(data.substr(0, data.find('\0')));
  registry.SetKeyValue(Root, place.key, place.value, text, REG_SZ);
  Expect(registry.QueryText(Root, place.key, place.value) == text, "a text is read back");
  const auto number = static_cast<std::int32_t>(data.size()) - 3;
  registry.SetKeyValue(Root, place.key, place.value, number, REG_DWORD);
  Expect(registry.QueryValue(Root, place.key, place.value) == RegValue(number), "a number is read back");
  registry.DeleteValue(Root, place.key, place.value);
  Expect(registry.QueryValue(Root, place.key, place.value) == RegValue(), "a value can be deleted");
}

/// Checks that a second value, unless it has the same name, does not change the first.
void CheckTwo(KeyStore& keys, const Place& first, const KeyData& data, const Place& second) {
  if (!CheckRoundTrip(keys, first, data)) return;
  CheckLists(keys, first);
  CheckRegistry(keys, first, data.bytes);
  CheckRoundTrip(keys, first, data);
  if (IsSame(first, second)) return;
  CheckRoundTrip(keys, second, {KeyTypeBinary, "other"});
  KeyData read;
  Expect(Query(keys, first, read) == KeyOk && read == Expected(data),
         "another value does not change this one");
}

/// Deletes all keys and values.
void Empty(KeyStore& keys) {
  std::vector<std::string> names;
  std::vector<NamedKeyData> values;
  Expect(keys.ListSubkeys(Root, names) == KeyOk && keys.ListValues(Root, values) == KeyOk,
         "a root is listed");
  for (const std::string& name : names)
    Expect(keys.DeleteTree(Root, name) == KeyOk, "a listed key can be deleted");
  for (const NamedKeyData& value : values) {
    Expect(keys.DeleteValue(Root, value.name) == KeyOk, "a listed value can be deleted");
  }
  Expect(keys.ListSubkeys(Root, names) == KeyOk && names.empty(), "the store is empty");
  Expect(keys.Problem().empty(), "the store reported no problem");
}

}  // namespace
}  // namespace fieldpost::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace fieldpost;
  using namespace fieldpost::fuzz;
  std::string_view rest = TextOf(data, size);
  Place first;
  Place second;
  first.key = TakeLine(rest);
  first.value = TakeLine(rest);
  second.key = TakeLine(rest);
  second.value = TakeLine(rest);
  KeyStore& keys = TheStore().keys;
  for (const std::uint32_t type : {KeyTypeText, KeyTypeBinary}) {
    CheckTwo(keys, first, {type, std::string(rest)}, second);
  }
  Empty(keys);
  return 0;
}
