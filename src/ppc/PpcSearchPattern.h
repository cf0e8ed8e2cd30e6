// Which files make up the PPC database: the search pattern, and the names that match it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/PathText.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The search pattern that the registry's value for the PPC database stands for: the value itself when it
/// ends in "*.xml", "*.xml" in the folder of the file that it names when it ends in ".xml" or the separator,
/// else "*.xml" in the folder that it names. Endings know case. What follows a NUL does not count. Empty for
/// an empty value.
std::string PatternOfDatabase(std::string_view value, char separator = PathSeparator);

/// The same for the suite's installation folder, in which the database has a folder "PPCdb".
std::string PatternOfInstallation(std::string_view value, char separator = PathSeparator);

/// Whether a name matches a pattern of "*" (any characters), "?" (any one byte) and plain characters, without
/// regard to the case of ASCII letters.
bool MatchesPattern(std::string_view name, std::string_view pattern);

/// The plain files that a pattern names, as full paths in name order: what stands behind the pattern's last
/// separator is matched against the names in the folder before it. None when there is no folder in it or no
/// such folder. Throws FileError.
std::vector<std::filesystem::path> FilesOfPattern(const FileSystem& files, std::string_view pattern);

}  // namespace fieldpost
