// The hash of a file of any size.
#pragma once

#include <filesystem>

#include "common/ContentHash.h"
#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Returns the hash of a regular file's content, which is read in blocks. Processes events on `display` after
/// each block. Throws FileError.
ContentHash HashFile(const FileSystem& files, const std::filesystem::path& path, StatusDisplay& display);

}  // namespace fieldpost
