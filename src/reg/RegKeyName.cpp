#include "reg/RegKeyName.h"

#include <algorithm>
#include <array>

#include "common/Text.h"

namespace fieldpost {
namespace {

struct Root {
  KeyHandle handle;
  std::string_view longName;
  std::string_view shortName;
};

constexpr std::array<Root, 5> Roots{{
    {KeyHandle::LocalMachine, "HKEY_LOCAL_MACHINE", "HKLM"},
    {KeyHandle::CurrentUser, "HKEY_CURRENT_USER", "HKCU"},
    {KeyHandle::ClassesRoot, "HKEY_CLASSES_ROOT", "HKCR"},
    {KeyHandle::Users, "HKEY_USERS", "HKU"},
    {KeyHandle::CurrentConfig, "HKEY_CURRENT_CONFIG", "HKCC"},
}};

/// Returns the parts of a name, joined by one "\" each.
std::string Joined(std::string_view name, char separator) {
  std::string result;
  while (!name.empty()) {
    const std::size_t end = std::min(name.find(separator), name.size());
    if (end > 0 && !result.empty()) result += '\\';
    result += name.substr(0, end);
    name.remove_prefix(std::min(end + 1, name.size()));
  }
  return result;
}

bool BeginsWithRoot(std::string_view text) {
  return std::any_of(Roots.begin(), Roots.end(), [&](const Root& root) {
    return EqualNoCase(text.substr(0, root.shortName.size()), root.shortName) ||
           EqualNoCase(text.substr(0, root.longName.size()), root.longName);
  });
}

}  // namespace

std::optional<RegKeyName> ParseRegKeyName(std::string_view text) {
  const std::size_t rootEnd = std::min(text.find_first_of("\\/"), text.size());
  const std::string_view rootName = text.substr(0, rootEnd);
  const auto root = std::find_if(Roots.begin(), Roots.end(), [&](const Root& candidate) {
    return EqualNoCase(rootName, candidate.longName) || EqualNoCase(rootName, candidate.shortName);
  });
  if (root == Roots.end()) return std::nullopt;
  if (rootEnd == text.size()) return RegKeyName{root->handle, {}};
  return RegKeyName{root->handle, Joined(text.substr(rootEnd), text[rootEnd])};
}

std::string FullName(const RegKeyName& key) {
  const auto root = std::find_if(Roots.begin(), Roots.end(),
                                 [&](const Root& candidate) { return candidate.handle == key.root; });
  std::string result(root->longName);
  if (!key.name.empty()) result.append("\\").append(key.name);
  return result;
}

std::string InvalidKeyNameText(std::string_view text) {
  const bool hasSeparator = text.find_first_of("\\/") != std::string_view::npos;
  if (!hasSeparator && BeginsWithRoot(text)) {
    return "\"" + EscapeControls(text) +
           "\" has lost its backslashes: put the key in single quotes, 'HKLM\\SOFTWARE\\...'";
  }
  return "\"" + EscapeControls(text) +
         "\" does not begin with a root: HKLM, HKCU, HKCR, HKU or HKCC, as in 'HKLM\\SOFTWARE\\...'";
}

}  // namespace fieldpost
