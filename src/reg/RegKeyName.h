// Parsing and printing the names of registry keys.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/KeyStore.h"

namespace fieldpost {

/// A key: its root, and the name below the root, whose parts are separated by one "\" each.
struct RegKeyName {
  KeyHandle root = KeyHandle::None;
  std::string name;
};

/// Parses a name such as "HKLM\SOFTWARE\Name": the root in its short or long form, in upper or lower case.
/// Repeated separators count as one, and separators at the end are ignored. When "/" follows the root, the
/// separator is "/" instead of "\". Empty when the text does not begin with a root.
std::optional<RegKeyName> ParseRegKeyName(std::string_view text);

/// Returns the full name of a key, e.g. "HKEY_LOCAL_MACHINE\SOFTWARE\Name".
std::string FullName(const RegKeyName& key);

/// Returns one line on why ParseRegKeyName cannot parse a text.
std::string InvalidKeyNameText(std::string_view text);

}  // namespace fieldpost
