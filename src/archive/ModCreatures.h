// Helper procedures that list the Archive folder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/RunLists.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The modes of ScanArchiveFolders.
struct ArchiveScan {
  static constexpr std::int16_t Files = 1;         ///< the paths of all "*.xml" files
  static constexpr std::int16_t ProductCodes = 2;  ///< the names of the product-code folders
};

/// Lists the Archive folder. Its product-code folders are the folders directly in it; a link to a folder is
/// not one.
class ModCreatures {
 public:
  ModCreatures(const FileSystem& files, const MailSettings& settings, ModWriteLogFile& log);

  /// Mode 1 sets `paths` to the full path of every "*.xml" file of every product-code folder. Mode 2 sets
  /// `productCodes` to the names of the folders, but keeps it while it has as many entries as there are
  /// folders. Any other mode does nothing. Returns false, and changes nothing, when the Archive folder is
  /// missing, or cannot be listed; the latter is logged. Never throws.
  bool ScanArchiveFolders(std::int16_t mode, std::vector<std::string>& productCodes, PathList& paths);

 private:
  [[nodiscard]] PathList AllFiles(const std::filesystem::path& archive,
                                  const std::vector<std::string>& productCodes) const;

  const FileSystem& files_;
  const MailSettings& settings_;
  ModWriteLogFile& log_;
};

}  // namespace fieldpost
