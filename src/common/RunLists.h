// The lists of paths that the parts of one run hand to each other.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "common/ContentHash.h"

namespace fieldpost {

using PathList = std::vector<std::filesystem::path>;

/// A combined document that waits to be mailed.
struct PendingFile {
  std::filesystem::path path;          ///< full path
  std::optional<ContentHash> content;  ///< hash of its bytes as written; empty when an earlier run wrote it
};

/// Program-wide ordered lists; every path is a full path.
struct RunLists {
  PathList LatestFolderList;  ///< Folders in which devices leave their files, each ending in the separator.
  std::vector<PendingFile> PendingFiles;  ///< Combined documents of this run that wait to be mailed.
  PathList Attachments;                   ///< The files of the mails in hand.
  PathList PackedFiles;                   ///< The files that went into the current zip.
};

}  // namespace fieldpost
