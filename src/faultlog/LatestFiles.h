// The files that wait in the Latest folders.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "common/RunLists.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// A folder in which devices leave their files.
struct LatestFolder {
  std::filesystem::path path;
  bool canRemoveFrom = false;  ///< this user may remove files from it
};

/// A file of a Latest folder, by its index in LatestFiles::folders and its name in UTF-8. There may be a
/// hundred thousand files, so none has its whole path.
struct LatestFile {
  std::uint32_t folder;
  std::string name;
};

/// The files of one scan, in the order in which they are processed.
struct LatestFiles {
  std::vector<LatestFolder> folders;  ///< those that exist
  std::vector<LatestFile> files;
  std::vector<std::string> problems;  ///< a line for each folder that could not be listed
};

/// Lists the regular files "*.xml" of the Latest folders, folder by folder, each in the order of its names'
/// bytes. Files of one name that lie in many folders are grouped at the position of the first, so that their
/// archived file is read and written once. A missing folder is skipped.
[[nodiscard]] LatestFiles CollectLatestFiles(const FileSystem& files, const PathList& latestFolders);

}  // namespace fieldpost
