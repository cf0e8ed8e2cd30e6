// The program-wide lists of a run.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "common/ContentHash.h"

namespace fieldpost {

using PathList = std::vector<std::filesystem::path>;

/// A document that waits to be mailed.
struct PendingFile {
  std::filesystem::path path;  ///< full path
  std::optional<ContentHash> content =
      std::nullopt;  ///< hash of its bytes as written; empty when it is not known

  bool operator==(const PendingFile&) const = default;
};

/// Program-wide ordered lists; every path is a full path.
struct RunLists {
  PathList LatestFolderList;  ///< Folders in which devices leave their files, each ending in the separator.
  std::vector<PendingFile>
      PendingFiles;  ///< Combined documents that this run wrote or recovered, not mailed yet.
};

}  // namespace fieldpost
