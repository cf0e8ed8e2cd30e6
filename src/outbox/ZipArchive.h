// Packs files into a zip.
#pragma once

#include <filesystem>
#include <functional>
#include <span>
#include <string>

#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// How a packing ended.
struct ZipResult {
  int code = 0;             ///< 0 is success, anything else the zip library's number of the error
  std::string description;  ///< one line; empty on success
  bool stopped = false;     ///< it ended because the person at the screen wanted it to
};

/// Packs `files` into a zip (deflate, level 6), each under its file name alone; of several with the same name
/// (but for the case of ASCII letters) the later ones become "name (2).xml" and so on. The zip takes the
/// place of `zipFile` when it is complete; on failure nothing has changed. One file that cannot be read fails
/// the packing, as does an empty list. The same files give the same bytes, as their times are the entries'
/// times. It ends when the person at the screen wants it to. Memory stays flat; window events are let run all
/// the while, and `progress`, when given, is told how
/// far the packing is, 0 to 100 percent. Never throws.
ZipResult WriteZip(FileSystem& files, std::span<const std::filesystem::path> paths,
                   const std::filesystem::path& zipFile, StatusDisplay& display,
                   const std::function<void(int)>& progress = {});

}  // namespace fieldpost
