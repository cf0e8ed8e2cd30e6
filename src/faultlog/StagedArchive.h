// The archived files of a batch, written under temporary names.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "faultlog/ArchivedFile.h"
#include "faultlog/FaultloggerFile.h"
#include "faultlog/FilingJournal.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Files Latest files into the Archive, without changing it: each new or merged archived file is staged, that
/// is, written under a temporary name, until the batch is committed and published.
///
/// Temporary files lie in the Archive folder itself, never in a product folder, so that leftovers of an
/// interrupted run are found without a search through the whole Archive.
class StagedArchive {
 public:
  StagedArchive(FileSystem& files, std::filesystem::path archiveFolder);
  StagedArchive(const StagedArchive&) = delete;
  StagedArchive& operator=(const StagedArchive&) = delete;

  /// Rolls back what was not taken.
  ~StagedArchive();

  /// Stages `file`, which was read from `source` in the state `stamp`, as the archived file `target`, or
  /// merges it into `target` when that exists already, on disk or staged. Merging renumbers the entries of
  /// `file`. Throws FileError, with everything as before, when `target` does not load, is `source` itself, or
  /// cannot be written.
  void Add(FaultloggerFile& file, const FileStamp& stamp, const std::filesystem::path& source,
           const std::filesystem::path& target);

  /// Transfers the staged files to the caller, who publishes them or removes them with RemoveStaged. Throws
  /// FileError when the archived file that was merged into last cannot be written.
  [[nodiscard]] std::vector<FilingJournal::Staged> Take();

  /// Removes the staged files and forgets what was added.
  void RollBack() noexcept;

 private:
  /// An archived file that entries are merged into. It stays in memory while files of the same name follow,
  /// so that it is read and written once for all of them.
  struct OpenArchived {
    std::filesystem::path target;
    ArchivedFile file;
    bool changed = false;
  };
  void Open(const std::filesystem::path& target);
  void StageOpen();
  void Stage(const std::filesystem::path& target, std::string_view bytes);
  void RefuseSameFile(const FileStamp& stamp, const std::filesystem::path& source,
                      const std::filesystem::path& target) const;

  FileSystem& files_;
  std::filesystem::path folder_;
  std::vector<FilingJournal::Staged> staged_;
  std::unordered_map<std::filesystem::path::string_type, std::size_t> placeByTarget_;  // in staged_
  std::optional<OpenArchived> open_;
  std::size_t temporaryNumber_ = 0;
};

/// Removes the temporary files of a batch that is rolled back. A file that cannot be removed is left to the
/// next run's recovery.
void RemoveStaged(FileSystem& files, std::span<const FilingJournal::Staged> staged) noexcept;

}  // namespace fieldpost
