// Shared helper procedures: what lies in the Archive folder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/RunLists.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// What ScanArchiveFolders looks for.
struct ArchiveScan {
  static constexpr std::int16_t Files = 1;         ///< the paths of all "*.xml" files
  static constexpr std::int16_t ProductCodes = 2;  ///< the names of the product-code folders
};

/// A product-code folder is a real folder in the Archive folder: a link to one is none.
class ModCreatures {
 public:
  ModCreatures(const FileSystem& files, const MailSettings& settings, ModWriteLogFile& log);

  /// Mode 1 fills `paths` with the full path of every "*.xml" file of every product-code folder. Mode 2 fills
  /// `productCodes` with the folders' names, but leaves it as it is while it has as many entries as there are
  /// folders. False, and nothing changed, when there is no Archive folder, or it cannot be listed, which the
  /// log then says. Any other mode does nothing. Never throws.
  bool ScanArchiveFolders(std::int16_t mode, std::vector<std::string>& productCodes, PathList& paths);

 private:
  [[nodiscard]] PathList AllFiles(const std::filesystem::path& archive) const;

  const FileSystem& files_;
  const MailSettings& settings_;
  ModWriteLogFile& log_;
};

}  // namespace fieldpost
