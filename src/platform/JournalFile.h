// A file in which the program has noted what it is about to do.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/FileSystem.h"

namespace fieldpost {

/// A journal's bytes. Nothing when there is no plain file of that name, or a larger one than the program ever
/// writes. Throws FileError when it cannot be read, when a folder bears its name, and when somebody else may
/// have written it: the program would do what that one wants.
[[nodiscard]] std::optional<std::string> ReadJournalFile(const FileSystem& files,
                                                         const std::filesystem::path& path);

}  // namespace fieldpost
