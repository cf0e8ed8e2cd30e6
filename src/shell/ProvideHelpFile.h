// Writes the help file into the program's own folder.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"

namespace fieldpost {

/// Returns the path of "FPhelp.hlp" in the program's own folder.
[[nodiscard]] std::filesystem::path HelpFile(const std::filesystem::path& ownFolder);

/// Writes the help file when it is missing or differs from `bytes`. Returns one line on why that failed;
/// empty on success.
[[nodiscard]] std::string ProvideHelpFile(FileSystem& files, const std::filesystem::path& ownFolder,
                                          std::string_view bytes);

}  // namespace fieldpost
