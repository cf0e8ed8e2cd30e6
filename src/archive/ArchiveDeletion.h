// The three rules that delete archived files.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "archive/ModeIndicator.h"
#include "archive/ProductCodes.h"
#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The result of a deletion rule.
struct DeletionResult {
  std::size_t deleted = 0;
  std::size_t failed = 0;    ///< files and folders that exist and could not be read or deleted
  std::string firstFailure;  ///< one line about the first of these; empty when there is none
};

/// Deletes in the Archive folder, and nowhere else: every path is opened from the Archive folder downwards,
/// and no link is followed on the way. Of a link in the place of a file, the link is deleted, not its target.
/// A link in the place of a product-code folder is ignored, and so are folders in product-code folders.
///
/// Each rule sets the range and position of `display`, processes events after each item, and ends early when
/// it is cancelled. What cannot be read or deleted is counted, and the rule continues. Nothing here throws.
class ArchiveDeletion {
 public:
  /// `archive` is the Archive folder.
  ArchiveDeletion(const FileSystem& files, std::filesystem::path archive);

  /// Lists the product-code folders.
  [[nodiscard]] ProductCodeList ProductCodes() const;

  /// Deletes every file of every product-code folder.
  DeletionResult DeleteAll(StatusDisplay& display);

  /// Deletes the files of one product code whose mode indicator is "p", in either case. A product code that
  /// does not exist has none.
  DeletionResult DeleteProcess(const std::string& productCode, StatusDisplay& display);

  /// Deletes these files. A file that does not exist is ignored; a path outside the Archive folder counts as
  /// failed.
  DeletionResult DeleteSelected(const PathList& paths, StatusDisplay& display);

  /// Removes the product-code folders that are empty; a hidden file or a folder in one keeps it.
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
