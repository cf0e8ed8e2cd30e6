// Files that are filed together: all of them, or none.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "faultlog/FaultloggerFile.h"
#include "faultlog/FilingJournal.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The files whose entries one combined document holds.
///
/// Archived files and the document are written under temporary names while the batch grows. Publish() flushes
/// them and a journal of what is to be done, gives them their names, and only then removes the files from
/// their Latest folders. A program that ends before that is durable has changed nothing; one that ends
/// later is finished by FinishInterrupted() of the next run. So an entry is in the Archive and in a combined
/// document once each, or still in its Latest folder. The journal may become durable before the files that it
/// names (one flush is for all), so it says what must be in them.
///
/// Flushing once for a whole batch keeps the price of it small.
///
/// The procedures throw FileError; what they then leave is the batch as it was before.
class FilingBatch {
 public:
  /// `archiveFolder` and `processFolder` must exist. While it publishes, it lets events run on `display`.
  FilingBatch(FileSystem& files, std::filesystem::path archiveFolder, std::filesystem::path processFolder,
              StatusDisplay& display);
  FilingBatch(const FilingBatch&) = delete;
  FilingBatch& operator=(const FilingBatch&) = delete;
  ~FilingBatch();

  /// Takes a file of a Latest folder into the batch: as the archived file `target`, or merged into it when
  /// that is there already, on disk or in the batch. The running numbers in `file` are then counted on.
  /// Fails, and leaves the archived file alone, when that does not load or is the very same file.
  void Accept(FaultloggerFile& file, const FileContent& content, const std::filesystem::path& source,
              const std::filesystem::path& target);

  /// Gives a document whose name the batch's own will take another, free one when the batch is published.
  void Displace(const std::filesystem::path& document, const std::filesystem::path& freeName);

  /// Writes the combined document, publishes everything and empties the batch. Returns how many files were
  /// filed. When it throws, either the batch was dropped, or it was decided and the next run finishes it.
  std::size_t Publish(const std::filesystem::path& document, std::string_view text);

  /// Forgets the batch; its files stay in their Latest folders.
  void Drop() noexcept;

  /// Finishes a batch that an interrupted run had decided, and removes what it left half written. Adds the
  /// batch's combined document to `documents`. Returns how many files that run had filed.
  std::size_t FinishInterrupted(PathList& documents);

 private:
  /// An archived file that entries are merged into. It stays in hand while namesakes follow, so that it is
  /// read and written once for all of them.
  struct OpenArchived {
    std::filesystem::path target;
    ArchivedFile file;
    bool changed = false;
  };
  void OpenForMerging(const std::filesystem::path& target);
  void StageOpenArchived();
  void StageArchived(const std::filesystem::path& target, std::string_view bytes);
  void RefuseTheSameFile(const FileStamp& stamp, const std::filesystem::path& source,
                         const std::filesystem::path& target) const;
  void StageDocument(const std::filesystem::path& document, std::string_view text);
  void MakeFolderOf(const std::filesystem::path& target);
  void Decide();
  void TakeBackDecision();
  [[nodiscard]] std::optional<FilingJournal> ReadJournal() const;
  [[nodiscard]] bool WasDecided(const FilingJournal& journal) const;
  [[nodiscard]] bool Holds(const std::filesystem::path& path, const ContentHash& content) const;
  void MakeRoom(const FilingJournal& journal);
  void RemoveSources(const FilingJournal& journal);
  [[nodiscard]] bool IsWhatWasFiled(const FilingJournal::Source& source) const;
  [[nodiscard]] PathList FoldersOf(const FilingJournal& journal) const;
  [[nodiscard]] std::filesystem::path JournalPath() const;
  void RemoveLeftovers(const std::filesystem::path& folder);

  FileSystem& files_;
  StatusDisplay& display_;
  std::filesystem::path archiveFolder_;
  std::filesystem::path processFolder_;
  FilingJournal journal_;  // of the batch in hand
  std::unordered_map<std::filesystem::path::string_type, std::size_t>
      stagedByTarget_;  // place in journal_.staged
  std::unordered_set<std::filesystem::path::string_type> knownFolders_;
  std::optional<OpenArchived> openArchived_;
  std::size_t temporaryNumber_ = 0;
};

}  // namespace fieldpost
