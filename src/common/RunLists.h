// The lists of paths that the parts of one run hand to each other.
#pragma once

#include <filesystem>
#include <vector>

namespace fieldpost {

using PathList = std::vector<std::filesystem::path>;

/// Program-wide ordered lists; every entry is a full path.
struct RunLists {
  PathList LatestFolderList;  ///< Folders in which devices leave their files, each ending in the separator.
  PathList PendingFiles;      ///< Combined documents that this run wrote and that wait to be mailed.
  PathList Attachments;       ///< The files of the mails in hand.
  PathList PackedFiles;       ///< The files that went into the current zip.
};

}  // namespace fieldpost
