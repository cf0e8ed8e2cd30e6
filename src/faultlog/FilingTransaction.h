// Commits, publishes and recovers what a filing journal describes.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>

#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "faultlog/FilingFolders.h"
#include "faultlog/FilingJournal.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// A batch that was filed whole.
struct FiledBatch {
  std::size_t files = 0;  ///< how many Latest files were filed
  PendingFile document;   ///< the combined document that holds their entries
};

/// Files a batch all or nothing, whenever the program or the machine stops.
///
/// Commit() makes the staged files and the journal durable. Publish() then renames the staged files to their
/// targets and removes the Latest files. A program that ends before the commit is durable has changed
/// nothing; for one that ends later, Recover() of the next run does the rest. So an entry is in the Archive
/// and in a combined document once each, or still in its Latest folder.
///
/// One flush makes the staged files and the journal durable. The journal may reach the disk first, so it
/// contains their hashes.
class FilingTransaction {
 public:
  /// The transaction processes events on `display` while it publishes and recovers.
  FilingTransaction(FileSystem& files, FilingFolders folders, StatusDisplay& display);

  /// Commits a batch whose files are staged. Throws FileError on failure: nothing is committed, and the
  /// caller removes the staged files.
  void Commit(const FilingJournal& journal);

  /// Publishes a committed batch. Throws FileError when a step failed; the next run recovers the batch.
  void Publish(const FilingJournal& journal);

  /// Publishes a batch that an interrupted run had committed, and removes the files of an uncommitted batch.
  /// Returns the published batch, or nothing. The document's hash is empty when the document on disk is
  /// unreadable or differs from the staged one. Throws FileError when a step failed; nothing may be filed
  /// then.
  [[nodiscard]] std::optional<FiledBatch> Recover();

 private:
  void RemoveJournalQuietly();
  [[nodiscard]] std::optional<FilingJournal> CommittedJournal() const;
  [[nodiscard]] bool WasCommitted(const FilingJournal& journal) const;
  [[nodiscard]] bool Holds(const std::filesystem::path& path, const ContentHash& content) const;
  void PublishAgain(const FilingJournal& journal);
  void SetAside(const FilingJournal& journal);
  void RemoveSources(const FilingJournal& journal);
  [[nodiscard]] bool IsWhatWasFiled(const FilingJournal::Source& source) const;
  [[nodiscard]] PendingFile DocumentOf(const FilingJournal& journal) const;
  [[nodiscard]] PathList FoldersOf(const FilingJournal& journal) const;
  [[nodiscard]] std::filesystem::path JournalPath() const;
  void RemoveLeftovers(const std::filesystem::path& folder);

  FileSystem& files_;
  FilingFolders folders_;
  StatusDisplay& display_;
};

}  // namespace fieldpost
