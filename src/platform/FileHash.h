// The hash of a file, however large the file is.
#pragma once

#include <filesystem>

#include "common/ContentHash.h"
#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The hash of a plain file's content, read in pieces. Lets events run on `display` meanwhile. Throws
/// FileError.
ContentHash HashFile(const FileSystem& files, const std::filesystem::path& path, StatusDisplay& display);

}  // namespace fieldpost
