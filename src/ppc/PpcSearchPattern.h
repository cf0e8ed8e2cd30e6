// The search pattern for the files of the PPC database.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/PathText.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Returns the search pattern for the registry's value of the PPC database: the value itself when it ends in
/// "*.xml";
/// "*.xml" in the folder of the named file when it ends in ".xml" or the separator; else "*.xml" in the named
/// folder. Endings are case-sensitive. A NUL and what follows it are ignored. Empty for an empty value.
[[nodiscard]] std::string PatternOfDatabase(std::string_view value, char separator = PathSeparator);

/// Returns the search pattern for the suite's installation folder, by the rules of PatternOfDatabase; the
/// database is in its folder "PPCdb".
[[nodiscard]] std::string PatternOfInstallation(std::string_view value, char separator = PathSeparator);

/// Whether a name matches a pattern of "*" (any characters), "?" (any one byte) and literal characters, in
/// any case of ASCII letters.
[[nodiscard]] bool MatchesPattern(std::string_view name, std::string_view pattern);

/// Returns the full paths of the regular files that match a pattern, in name order: the names in its folder
/// are compared with the part after its last separator. Empty when the pattern has no folder or the folder is
/// missing. Throws FileError.
[[nodiscard]] std::vector<std::filesystem::path> FilesOfPattern(const FileSystem& files,
                                                                std::string_view pattern);

}  // namespace fieldpost
