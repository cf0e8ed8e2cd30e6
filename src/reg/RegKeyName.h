// Names of registry keys as people type them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/KeyStore.h"

namespace fieldpost {

/// A key by its root and the name below it, whose parts are separated by one "\" each.
struct RegKeyName {
  KeyHandle root = KeyHandle::None;
  std::string name;
};

/// Reads "HKLM\SOFTWARE\Name": the root in its short or its long form, in any letter case. Doubled separators
/// count once, one at the end not at all. Where "/" follows the root, all the separators are "/". Empty when
/// the text does not begin with a root.
std::optional<RegKeyName> ParseRegKeyName(std::string_view text);

/// The key's name in full, e.g. "HKEY_LOCAL_MACHINE\SOFTWARE\Name".
std::string FullName(const RegKeyName& key);

/// One line on what is wrong with a text that ParseRegKeyName cannot read.
std::string WhyNoKeyName(std::string_view text);

}  // namespace fieldpost
