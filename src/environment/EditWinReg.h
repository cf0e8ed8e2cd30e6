// Access to the registry: open a key, do one thing, close it again.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "environment/RegistryKeys.h"
#include "platform/KeyStore.h"

namespace fieldpost {

/// A value as it travels: a text (UTF-8) or a 32-bit number.
using RegValue = std::variant<std::string, std::int32_t>;

/// Texts (REG_SZ) and 32-bit numbers (REG_DWORD) in the registry. It holds no state between calls. No
/// operation raises an error: a failure is the platform's status number, or an empty result.
class EditWinReg {
 public:
  explicit EditWinReg(KeyStore& store) : store_(store) {}

  /// Deletes a key that has no subkeys.
  void DeleteKey(KeyHandle lPredefinedKey, std::string_view sKeyName);

  /// Deletes one value of a key.
  void DeleteValue(KeyHandle lPredefinedKey, std::string_view sKeyName, std::string_view sValueName);

  /// Writes a value into an open key: a text without its terminator, a number as four bytes. A number given
  /// for a text becomes its decimal digits, a text given for a number is read as such; one that is none is
  /// not written (KeyBadArgument). Any other type writes nothing and is no error.
  std::int32_t SetValueEx(KeyHandle hKey, std::string_view sValueName, std::int32_t lType,
                          const RegValue& vValue);

  /// Reads a value of an open key. A text keeps the terminator that was stored with it. Returns -1 for any
  /// type but the two, and leaves `vValue` untouched unless it returns 0.
  std::int32_t QueryValueEx(KeyHandle lhKey, std::string_view szValueName, RegValue& vValue);

  /// Makes a key where it is missing.
  void CreateNewKey(KeyHandle lPredefinedKey, std::string_view sNewKeyName);

  /// Writes a value of a key that exists; where it does not, nothing is written.
  void SetKeyValue(KeyHandle lPredefinedKey, std::string_view sKeyName, std::string_view sValueName,
                   const RegValue& vValueSetting, std::int32_t lValueType);

  /// Reads a value of a key: the number, or the text without its last character, which is the terminator.
  /// The empty text when the key or the value is missing, or is neither of the two.
  RegValue QueryValue(KeyHandle lPredefinedKey, std::string_view sKeyName, std::string_view sValueName);

  /// What QueryValue gives, where a text is wanted: empty when it is a number.
  std::string QueryText(KeyHandle lPredefinedKey, std::string_view sKeyName, std::string_view sValueName);

 private:
  KeyStore& store_;
};

}  // namespace fieldpost
