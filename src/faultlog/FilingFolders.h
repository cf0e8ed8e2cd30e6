// The folders to which a site's entries are filed.
#pragma once

#include <filesystem>

#include "environment/RunContext.h"

namespace fieldpost {

/// The two folders that a batch of Latest files is filed to. Both must exist before anything is filed.
struct FilingFolders {
  std::filesystem::path archive;  ///< the Archive folder, in which each product code has a folder of its own
  std::filesystem::path process;  ///< the folder of combined documents and of the filing journal
};

/// The folders that the settings name; the process folder as `ProcessFolder` chooses it.
[[nodiscard]] FilingFolders FilingFoldersOf(const RunContext& run);

/// Creates the product folder of an archived file when it is missing. Throws FileError.
void CreateProductFolder(FileSystem& files, const std::filesystem::path& archivedFile);

}  // namespace fieldpost
