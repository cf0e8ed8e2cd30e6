// Reading the journals in which the program records what it is about to do.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/FileSystem.h"

namespace fieldpost {

/// Returns the bytes of a journal. Empty when `path` is not a regular file, or is one of more than
/// MaxJournalBytes bytes. Throws FileError when the journal cannot be read, when `path` is a folder, and when
/// another user could have written it (see FileSystem::ReadOwn): the program would carry out that user's
/// instructions.
[[nodiscard]] std::optional<std::string> ReadJournalFile(const FileSystem& files,
                                                         const std::filesystem::path& path);

}  // namespace fieldpost
