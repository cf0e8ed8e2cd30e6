// What the three deletion rules do to the Archive folder.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "archive/ModeIndicator.h"
#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// What a rule did.
struct DeletionResult {
  std::size_t deleted = 0;
  std::size_t failed = 0;    ///< were there and could not be deleted
  std::string firstFailure;  ///< one line on the first of these; empty when there is none
};

/// Deletes in the Archive folder, and nowhere else: what is deleted is looked for from the Archive folder
/// downwards, and no link is followed on the way. A link in the place of a file is deleted itself, not what
/// it points to; a link in the place of a product-code folder is left alone. Folders in product-code folders
/// are left alone too.
///
/// Each procedure sets the range and position of `display`, lets events run after each item, and ends early
/// when the display asks for it. What cannot be deleted is passed over and counted. None throws.
class ArchiveDeletion {
 public:
  /// `archive` is the Archive folder.
  ArchiveDeletion(const FileSystem& files, std::filesystem::path archive);

  /// The names of the product-code folders; none when the Archive folder cannot be listed.
  [[nodiscard]] std::vector<std::string> ProductCodes() const;

  /// Deletes every file of every product-code folder.
  DeletionResult DeleteAll(StatusDisplay& display);

  /// Deletes the files of one product code whose mode indicator is that of files taken into processing.
  DeletionResult DeleteProcess(const std::string& productCode, StatusDisplay& display);

  /// Deletes these files. One that is gone already is passed over without a word; a path that does not lead
  /// into the Archive folder counts as failed.
  DeletionResult DeleteSelected(const PathList& paths, StatusDisplay& display);

  /// Removes the product-code folders with nothing in them, hidden files and folders included.
  void RemoveEmptyProductFolders(StatusDisplay& display);

 private:
  void DeleteProductCode(const FolderHandle& archive, const std::string& productCode, DeletionResult& result,
                         StatusDisplay& display);
  void DeleteIfProcess(FolderHandle& folder, const std::string& name, DeletionResult& result,
                       StatusDisplay& display);
  void DeleteOne(const std::filesystem::path& path, DeletionResult& result);

  const FileSystem& files_;
  std::filesystem::path archive_;
  ModeIndicatorReader reader_;
};

}  // namespace fieldpost
