// Fuzz target of SqliteKeyStore with damaged files. An input is a list of three bytes each: a position of two
// bytes and the byte to be written there, or 0xFFFF and the number of 64ths to which the file is cut.
#include <algorithm>
#include <string>
#include <vector>

#include "common/Text.h"
#include "environment/EditWinReg.h"
#include "fuzz/Fuzz.h"
#include "platform/SqliteKeyStore.h"
#include "support/TempFolder.h"

namespace fieldpost::fuzz {
namespace {

constexpr KeyHandle Root = KeyHandle::LocalMachine;
constexpr std::string_view Key = R"(SOFTWARE\Common)";
constexpr std::size_t MostDamage = 200;

/// Returns the file of a store with a few keys and values.
std::string GoodStore() {
  const test::TempFolder folder;
  DiskFileSystem files;
  {
    SqliteKeyStore keys(files, folder.Path() / "registry.sqlite");
    EditWinReg registry(keys);
    for (const std::string_view key : {Key, std::string_view(R"(SOFTWARE\Other)")}) {
      registry.CreateNewKey(Root, key);
      registry.SetKeyValue(Root, key, "", std::string("text"), REG_SZ);
      registry.SetKeyValue(Root, key, "Number", 7, REG_DWORD);
    }
  }
  return test::ReadFile(folder.Path() / "registry.sqlite");
}

std::string Damaged(std::string bytes, std::string_view damage) {
  const auto byte = [&damage](std::size_t i) {
    return static_cast<std::size_t>(static_cast<unsigned char>(damage[i]));
  };
  for (std::size_t count = 0; damage.size() >= 3 && count < MostDamage; ++count) {
    const std::size_t place = byte(0) << 8U | byte(1);
    if (place == 0xFFFFU) {
      bytes.resize(std::min(bytes.size(), bytes.size() * byte(2) / 64));
    } else if (!bytes.empty()) {
      bytes[place % bytes.size()] = damage[2];
    }
    damage.remove_prefix(3);
  }
  return bytes;
}

/// Checks a call on a possibly damaged store: it succeeds, or the store reports the problem in one line.
void Check(const KeyStore& keys, KeyStatus status) {
  const std::string problem = keys.Problem();
  Expect(std::none_of(problem.begin(), problem.end(), IsControl), "the problem is one line");
  Expect(status != KeyStoreDamaged || !problem.empty(), "damage is reported");
}

void Use(SqliteKeyStore& keys) {
  Check(keys, keys.Check());
  OpenedKey key(keys);
  Check(keys, key.Create(Root, Key, KeyAllAccess));
  KeyData data;
  Check(keys, keys.QueryValue(key.Handle(), "", data));
  const KeyStatus set = keys.SetValue(key.Handle(), "Number", KeyTypeText, "new");
  Check(keys, set);
  std::vector<NamedKeyData> values;
  std::vector<std::string> names;
  Check(keys, keys.ListValues(key.Handle(), values));
  Check(keys, keys.ListSubkeys(Root, names));
  Check(keys, keys.DeleteValue(key.Handle(), "Number"));
  Check(keys, keys.DeleteTree(Root, "SOFTWARE"));
}

}  // namespace
}  // namespace fieldpost::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace fieldpost;
  using namespace fieldpost::fuzz;
  static const std::string good = GoodStore();
  const test::TempFolder folder;
  DiskFileSystem files;
  SqliteKeyStore keys(files, folder.Write("registry.sqlite", Damaged(good, TextOf(data, size))));
  Use(keys);
  return 0;
}
