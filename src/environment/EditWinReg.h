// Access to the registry, one operation at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "environment/RegistryKeys.h"
#include "platform/KeyStore.h"

namespace fieldpost {

/// A registry value: a text (UTF-8) or a 32-bit number.
using RegValue = std::variant<std::string, std::int32_t>;

/// Reads and writes texts (REG_SZ) and 32-bit numbers (REG_DWORD) in the registry. Keeps no state between
/// calls. No operation throws: a failure is the platform's status number or an empty result.
class EditWinReg {
 public:
  /// `store` must outlive the object.
  explicit EditWinReg(KeyStore& store) : store_(store) {}

  /// Deletes a key. Does nothing when the key is missing or has subkeys.
  void DeleteKey(KeyHandle lPredefinedKey, std::string_view sKeyName);

  /// Deletes a value of a key. Does nothing when the key or the value is missing.
  void DeleteValue(KeyHandle lPredefinedKey, std::string_view sKeyName, std::string_view sValueName);

  /// Writes a value of an open key and returns the platform's status. REG_SZ writes a text without a
  /// terminator; a number is converted to its decimal digits. REG_DWORD writes four bytes; a text is
  /// converted to the number that it contains, and when it is not a number, nothing is written and the status
  /// is KeyBadArgument. Any other type writes nothing and returns KeyOk.
  [[nodiscard]] std::int32_t SetValueEx(KeyHandle hKey, std::string_view sValueName, std::int32_t lType,
                                        const RegValue& vValue);

  /// Reads a value of an open key into `vValue` and returns the platform's status. A text keeps the
  /// terminator that was stored with it. Returns -1 for a type other than REG_SZ and REG_DWORD. Leaves
  /// `vValue` unchanged unless it returns KeyOk.
  [[nodiscard]] std::int32_t QueryValueEx(KeyHandle lhKey, std::string_view szValueName, RegValue& vValue);

  /// Creates a key when it is missing.
  void CreateNewKey(KeyHandle lPredefinedKey, std::string_view sNewKeyName);

  /// Writes a value of a key. Does nothing when the key is missing.
  void SetKeyValue(KeyHandle lPredefinedKey, std::string_view sKeyName, std::string_view sValueName,
                   const RegValue& vValueSetting, std::int32_t lValueType);

  /// Returns a value of a key: the number, or the text without its last character, which is the terminator.
  /// Returns an empty text when the key or the value is missing, or is of another type.
  RegValue QueryValue(KeyHandle lPredefinedKey, std::string_view sKeyName, std::string_view sValueName);

  /// Returns a text value of a key without its last character, which is the terminator. Returns an empty text
  /// when the key or the value is missing, or is of another type.
  std::string QueryText(KeyHandle lPredefinedKey, std::string_view sKeyName, std::string_view sValueName);

 private:
  KeyStore& store_;
};

}  // namespace fieldpost
