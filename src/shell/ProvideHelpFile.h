// The help file in the program's own folder.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"

namespace fieldpost {

/// "FPhelp.hlp" in the program's own folder.
std::filesystem::path HelpFile(const std::filesystem::path& ownFolder);

/// Sees to it that the help file holds these bytes: writes it where it is missing or holds others. Returns
/// what went wrong, in one line; empty when the file is as it should be.
std::string ProvideHelpFile(FileSystem& files, const std::filesystem::path& ownFolder,
                            std::string_view bytes);

}  // namespace fieldpost
