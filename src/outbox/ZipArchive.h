// Writes zip archives.
#pragma once

#include <filesystem>
#include <functional>
#include <span>
#include <string>

#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// What came of packing.
struct ZipResult {
  int code = 0;             ///< 0 is success, any other value the error number of the zip library
  std::string description;  ///< one line; empty on success
  bool cancelled = false;   ///< the user cancelled
};

/// Packs files into a zip (deflate, level 6), each under its file name without a folder; of several with the
/// same name (in any case of ASCII letters) the later ones become "name (2).xml" and so on. The zip replaces
/// `zipFile` when it is complete; on failure nothing has changed. An unreadable file or an empty list is a
/// failure. The same files give the same bytes: their modification times become those of the entries.
/// Processes events on `display` and asks it whether the user has cancelled; calls `progress`, when given,
/// with the percentage done. Files are read in pieces. Never throws.
[[nodiscard]] ZipResult WriteZip(FileSystem& files, std::span<const std::filesystem::path> paths,
                                 const std::filesystem::path& zipFile, StatusDisplay& display,
                                 const std::function<void(int)>& progress = {});

}  // namespace fieldpost
