// Decides what becomes of one Latest file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/StatusDisplay.h"
#include "environment/FolderTree.h"
#include "environment/RunContext.h"
#include "faultlog/FilingBatch.h"
#include "faultlog/LatestFiles.h"

namespace fieldpost {

/// What became of one Latest file. It stays in its folder when it was neither moved to the Error folder nor
/// filed, now or with a later batch.
struct SortedFile {
  bool movedToError = false;
  std::string problem;   ///< why the file could not be filed or moved, in one line; empty when nothing failed
  FilingOutcome filing;  ///< the result of adding it to the batch
};

/// Sorts the files of the Latest folders: complete files are added to a batch by product code, what is not a
/// faultlogger file is moved to the Error folder, and what is not finished stays.
class LatestFileSorter {
 public:
  /// `display` shows what is moved to the Error folder.
  LatestFileSorter(const RunContext& run, FolderTree& tree, FilingBatch& batch, StatusDisplay& display);

  /// Sorts the file `name` of a folder. The reason why a file is moved to the Error folder is logged here, a
  /// problem is not.
  [[nodiscard]] SortedFile Sort(const LatestFolder& folder, const std::string& name);

 private:
  [[nodiscard]] SortedFile SortContent(const FileContent& content, const LatestFolder& folder,
                                       const std::filesystem::path& source);
  [[nodiscard]] std::filesystem::path TargetOf(const std::filesystem::path& source,
                                               std::string_view productCode) const;
  [[nodiscard]] SortedFile MoveToError(const std::filesystem::path& source, std::string_view reason);

  RunContext run_;
  FolderTree& tree_;
  FilingBatch& batch_;
  StatusDisplay& display_;
  std::string archiveFolder_;  // with its separator
};

/// Returns why a product code cannot name a folder of the Archive; empty when it can. It must be one plain
/// folder name on every system that the program runs on.
[[nodiscard]] std::string_view ProductCodeFault(std::string_view productCode);

}  // namespace fieldpost
