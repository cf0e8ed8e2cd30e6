// A tree of keys with typed values, modelled on the Windows registry.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fieldpost {

/// The result of a key store's call, by the Windows system error codes.
using KeyStatus = std::int32_t;

inline constexpr KeyStatus KeyOk = 0;
inline constexpr KeyStatus KeyMissing = 2;    ///< no such key or value
inline constexpr KeyStatus KeyRefused = 5;    ///< the key has subkeys, or the access right is missing
inline constexpr KeyStatus KeyBadHandle = 6;  ///< not an open key
inline constexpr KeyStatus KeyBadArgument =
    87;  ///< a name is too long or holds a NUL, or a value is too large
inline constexpr KeyStatus KeyDiskFull = 112;
inline constexpr KeyStatus KeyBusy = 170;           ///< another process locked the store for too long
inline constexpr KeyStatus KeyMoreData = 234;       ///< the value is longer than its type allows
inline constexpr KeyStatus KeyStoreDamaged = 1015;  ///< damaged, of a later version, or not a key store
inline constexpr KeyStatus KeyInputOutput = 1016;   ///< reading or writing the store failed
inline constexpr KeyStatus KeyDeleted = 1018;       ///< the key was deleted while it was open

/// An open key, or one of the roots, which are always open. The roots have the numbers of the Windows
/// registry.
enum class KeyHandle : std::uintptr_t {
  None = 0,
  ClassesRoot = 0x80000000U,
  CurrentUser = 0x80000001U,
  LocalMachine = 0x80000002U,
  Users = 0x80000003U,
  CurrentConfig = 0x80000005U,
};

/// Access rights of an open key, to be combined by "or". The numbers are those of the Windows registry.
inline constexpr std::uint32_t KeyMayQueryValues = 0x1;
inline constexpr std::uint32_t KeyMaySetValues = 0x2;
inline constexpr std::uint32_t KeyMayCreateSubkeys = 0x4;
inline constexpr std::uint32_t KeyMayListSubkeys = 0x8;
inline constexpr std::uint32_t KeyReadAccess = 0x19;  ///< query values, list subkeys, be notified
inline constexpr std::uint32_t KeyAllAccess = 0x3F;

/// Types of values, by the numbers of the Windows registry. Values of any other type are stored and read
/// unchanged.
inline constexpr std::uint32_t KeyTypeText = 1;            ///< UTF-8, terminated by a NUL
inline constexpr std::uint32_t KeyTypeExpandableText = 2;  ///< a text that names environment variables
inline constexpr std::uint32_t KeyTypeBinary = 3;
inline constexpr std::uint32_t KeyTypeNumber = 4;  ///< 32 bits, little-endian

/// The type and the bytes of a value.
struct KeyData {
  std::uint32_t type = 0;
  std::string bytes;

  bool operator==(const KeyData&) const = default;
};

/// A value with its name as it was first spelt. The name of a key's default value is empty.
struct NamedKeyData {
  std::string name;
  KeyData data;

  bool operator==(const NamedKeyData&) const = default;
};

/// Keys and values. Names are UTF-8 and compared ignoring the case of ASCII letters; the parts of a key's
/// name are separated by "\"; the value name "" is the key's default value. A change is durable when its call
/// returns. No call throws; each returns KeyOk or the status of its failure, and changes its output arguments
/// only for KeyOk.
class KeyStore {
 public:
  KeyStore() = default;
  KeyStore(const KeyStore&) = delete;
  KeyStore& operator=(const KeyStore&) = delete;
  virtual ~KeyStore() = default;

  /// Opens the key `name` below `parent` with these rights. An empty name opens `parent` again.
  [[nodiscard]] virtual KeyStatus OpenKey(KeyHandle parent, std::string_view name, std::uint32_t access,
                                          KeyHandle& opened) = 0;

  /// Opens a key as OpenKey does. Creates the key, and those above it, where they are missing.
  [[nodiscard]] virtual KeyStatus CreateKey(KeyHandle parent, std::string_view name, std::uint32_t access,
                                            KeyHandle& opened) = 0;

  /// Reads a value. A text ends in its first terminator; bytes that follow it in the store are ignored. A
  /// text of no bytes has no terminator.
  [[nodiscard]] virtual KeyStatus QueryValue(KeyHandle key, std::string_view name, KeyData& data) = 0;

  /// Writes a value. The store adds the terminator that a text lacks, unless the text is empty.
  [[nodiscard]] virtual KeyStatus SetValue(KeyHandle key, std::string_view name, std::uint32_t type,
                                           std::string_view bytes) = 0;

  /// Deletes a key with its values. Returns KeyRefused when it has subkeys.
  [[nodiscard]] virtual KeyStatus DeleteKey(KeyHandle parent, std::string_view name) = 0;

  /// Deletes a key with its values and everything below it in one transaction.
  [[nodiscard]] virtual KeyStatus DeleteTree(KeyHandle parent, std::string_view name) = 0;

  /// Deletes a value of an open key.
  [[nodiscard]] virtual KeyStatus DeleteValue(KeyHandle key, std::string_view name) = 0;

  /// Lists the names of a key's subkeys, as they were first spelt, sorted ignoring case.
  [[nodiscard]] virtual KeyStatus ListSubkeys(KeyHandle key, std::vector<std::string>& names) = 0;

  /// Lists a key's values, sorted by name ignoring case: the default value is the first.
  [[nodiscard]] virtual KeyStatus ListValues(KeyHandle key, std::vector<NamedKeyData>& values) = 0;

  /// Closes an open key. A root stays open.
  virtual KeyStatus CloseKey(KeyHandle key) = 0;

  /// Checks that the store can be read. A missing store can: it has no keys.
  [[nodiscard]] virtual KeyStatus Check() = 0;

  /// Returns one line on the last failure of the store itself; empty when there was none.
  [[nodiscard]] virtual std::string Problem() const = 0;

  /// Returns the files of the store; none where the system manages it.
  [[nodiscard]] virtual std::vector<std::filesystem::path> Files() const { return {}; }
};

/// Owns an open key and closes it.
class OpenedKey {
 public:
  explicit OpenedKey(KeyStore& store) : store_(store) {}
  OpenedKey(const OpenedKey&) = delete;
  OpenedKey& operator=(const OpenedKey&) = delete;
  ~OpenedKey() { Close(); }

  /// Opens a key with KeyStore::OpenKey, after closing the one that is open.
  [[nodiscard]] KeyStatus Open(KeyHandle parent, std::string_view name, std::uint32_t access) {
    Close();
    return store_.OpenKey(parent, name, access, handle_);
  }

  /// Opens or creates a key with KeyStore::CreateKey, after closing the one that is open.
  [[nodiscard]] KeyStatus Create(KeyHandle parent, std::string_view name, std::uint32_t access) {
    Close();
    return store_.CreateKey(parent, name, access, handle_);
  }

  /// Returns the open key, or KeyHandle::None.
  [[nodiscard]] KeyHandle Handle() const { return handle_; }

 private:
  void Close() {
    if (handle_ != KeyHandle::None) store_.CloseKey(std::exchange(handle_, KeyHandle::None));
  }

  KeyStore& store_;
  KeyHandle handle_ = KeyHandle::None;
};

}  // namespace fieldpost
