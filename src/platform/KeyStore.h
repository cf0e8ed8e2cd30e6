// A tree of keys that hold typed values, as the platform's registry has it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fieldpost {

/// What a key store's call came to, in the platform's own numbers.
using KeyStatus = std::int32_t;

inline constexpr KeyStatus KeyOk = 0;
inline constexpr KeyStatus KeyMissing = 2;       ///< no such key or value
inline constexpr KeyStatus KeyRefused = 5;       ///< the key has subkeys, or the right to do this is missing
inline constexpr KeyStatus KeyBadHandle = 6;     ///< not an open key
inline constexpr KeyStatus KeyBadArgument = 87;  ///< a name or a value that no store could take
inline constexpr KeyStatus KeyDiskFull = 112;
inline constexpr KeyStatus KeyBusy = 170;           ///< another process kept the store for too long
inline constexpr KeyStatus KeyMoreData = 234;       ///< the value is longer than its type allows
inline constexpr KeyStatus KeyStoreDamaged = 1015;  ///< damaged, of a later version, or no key store at all
inline constexpr KeyStatus KeyInputOutput = 1016;   ///< the disk failed
inline constexpr KeyStatus KeyDeleted = 1018;       ///< the key was deleted while it was open

/// An open key, or one of the roots, which are always open. The roots' numbers are the platform's.
enum class KeyHandle : std::uintptr_t {
  None = 0,
  ClassesRoot = 0x80000000U,
  CurrentUser = 0x80000001U,
  LocalMachine = 0x80000002U,
  Users = 0x80000003U,
  CurrentConfig = 0x80000005U,
};

/// Rights that a key is opened with; add them up. The numbers are the platform's.
inline constexpr std::uint32_t KeyMayQueryValues = 0x1;
inline constexpr std::uint32_t KeyMaySetValues = 0x2;
inline constexpr std::uint32_t KeyMayCreateSubkeys = 0x4;
inline constexpr std::uint32_t KeyMayListSubkeys = 0x8;
inline constexpr std::uint32_t KeyReadAccess = 0x19;  ///< query values, list subkeys, be notified
inline constexpr std::uint32_t KeyAllAccess = 0x3F;

/// Types of values; the numbers are the platform's. Other numbers are stored and read as they stand.
inline constexpr std::uint32_t KeyTypeText = 1;            ///< UTF-8 and a NUL at its end
inline constexpr std::uint32_t KeyTypeExpandableText = 2;  ///< the same, with names of variables in it
inline constexpr std::uint32_t KeyTypeBinary = 3;
inline constexpr std::uint32_t KeyTypeNumber = 4;  ///< 32 bits, lowest byte first

/// The type and the bytes of a value.
struct KeyData {
  std::uint32_t type = 0;
  std::string bytes;

  bool operator==(const KeyData&) const = default;
};

/// A value with its name as it was first spelt; the default value's name is empty.
struct NamedKeyData {
  std::string name;
  KeyData data;

  bool operator==(const NamedKeyData&) const = default;
};

/// Keys and values. Names are UTF-8 and compared without regard to the case of ASCII letters; the parts of a
/// key's name are separated by "\"; the value name "" is the key's default value. What a call has written is
/// durable when the call returns. No call throws; each returns KeyOk or says what was in its way, and leaves
/// its output arguments untouched unless it returns KeyOk.
class KeyStore {
 public:
  KeyStore() = default;
  KeyStore(const KeyStore&) = delete;
  KeyStore& operator=(const KeyStore&) = delete;
  virtual ~KeyStore() = default;

  /// Opens the key `name` below `parent`; an empty name opens `parent` once more.
  [[nodiscard]] virtual KeyStatus OpenKey(KeyHandle parent, std::string_view name, std::uint32_t access,
                                          KeyHandle& opened) = 0;

  /// Opens a key as OpenKey does, and makes it, and those above it, where they are missing.
  [[nodiscard]] virtual KeyStatus CreateKey(KeyHandle parent, std::string_view name, std::uint32_t access,
                                            KeyHandle& opened) = 0;

  /// Reads a value. A text ends in its terminator, whatever follows that in the store is left out; a text of
  /// no bytes at all stays one.
  [[nodiscard]] virtual KeyStatus QueryValue(KeyHandle key, std::string_view name, KeyData& data) = 0;

  /// Writes a value. A text that does not end in its terminator gets one from the store, unless it is empty.
  [[nodiscard]] virtual KeyStatus SetValue(KeyHandle key, std::string_view name, std::uint32_t type,
                                           std::string_view bytes) = 0;

  /// Deletes a key with its values. Refused when it has subkeys.
  [[nodiscard]] virtual KeyStatus DeleteKey(KeyHandle parent, std::string_view name) = 0;

  /// Deletes a key with its values and everything below it, in one step.
  [[nodiscard]] virtual KeyStatus DeleteTree(KeyHandle parent, std::string_view name) = 0;

  [[nodiscard]] virtual KeyStatus DeleteValue(KeyHandle key, std::string_view name) = 0;

  /// The names of a key's subkeys, as they were first spelt, sorted without regard to case.
  [[nodiscard]] virtual KeyStatus ListSubkeys(KeyHandle key, std::vector<std::string>& names) = 0;

  /// A key's values, sorted by name without regard to case: the default value comes first.
  [[nodiscard]] virtual KeyStatus ListValues(KeyHandle key, std::vector<NamedKeyData>& values) = 0;

  /// Closes an open key; a root stays open.
  virtual KeyStatus CloseKey(KeyHandle key) = 0;

  /// Whether the store can be read. One that does not exist yet can: every key is missing in it.
  [[nodiscard]] virtual KeyStatus Check() = 0;

  /// One line on what was wrong with the store itself when a call last failed for that; empty when none did.
  [[nodiscard]] virtual std::string Problem() const = 0;

  /// The files that hold the store; none where the system keeps it.
  [[nodiscard]] virtual std::vector<std::filesystem::path> Files() const { return {}; }
};

/// An open key that is closed at the end of its scope.
class OpenedKey {
 public:
  explicit OpenedKey(KeyStore& store) : store_(store) {}
  OpenedKey(const OpenedKey&) = delete;
  OpenedKey& operator=(const OpenedKey&) = delete;
  ~OpenedKey() { Close(); }

  /// Opens a key; see KeyStore::OpenKey. What was open before is closed.
  [[nodiscard]] KeyStatus Open(KeyHandle parent, std::string_view name, std::uint32_t access) {
    Close();
    return store_.OpenKey(parent, name, access, handle_);
  }

  /// Opens or makes a key; see KeyStore::CreateKey. What was open before is closed.
  [[nodiscard]] KeyStatus Create(KeyHandle parent, std::string_view name, std::uint32_t access) {
    Close();
    return store_.CreateKey(parent, name, access, handle_);
  }

  /// The open key, or KeyHandle::None.
  [[nodiscard]] KeyHandle Handle() const { return handle_; }

 private:
  void Close() {
    if (handle_ != KeyHandle::None) store_.CloseKey(std::exchange(handle_, KeyHandle::None));
  }

  KeyStore& store_;
  KeyHandle handle_ = KeyHandle::None;
};

}  // namespace fieldpost
