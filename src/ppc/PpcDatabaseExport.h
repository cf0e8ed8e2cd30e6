// Exports the PPC database where the suite's library is missing.
#pragma once

#include <filesystem>
#include <string_view>

#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Writes the `PPCentry` elements of every file of a search pattern, in name order, and the first
/// `ArchiveDate` of them all into one XML file in UTF-8, whose second line is a comment that names the
/// library that it stands in for. False, and nothing written, when the pattern names no file. Throws
/// PpcError, naming the database file that is not well-formed, or FileError; then there is no output. Memory
/// stays flat.
bool ExportPpcDatabase(FileSystem& files, std::string_view pattern, const std::filesystem::path& output,
                       StatusDisplay& display);

}  // namespace fieldpost
