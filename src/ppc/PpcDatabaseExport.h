// Exports the PPC database where the suite's library is missing.
#pragma once

#include <filesystem>
#include <string_view>

#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Writes the `PPCentry` elements of every file of a search pattern, in name order, and the first
/// `ArchiveDate` of all into one XML file in UTF-8. Its second line is a comment that names the library which
/// it replaces. False, and nothing is written, when the pattern matches no file. Throws PpcError, which names
/// the database file that is not well-formed, FileError, or Cancelled; then no output is left. Memory does
/// not grow with the database.
[[nodiscard]] bool ExportPpcDatabase(FileSystem& files, std::string_view pattern,
                                     const std::filesystem::path& output, StatusDisplay& display);

}  // namespace fieldpost
