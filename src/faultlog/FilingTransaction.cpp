#include "faultlog/FilingTransaction.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <unordered_set>
#include <utility>

#include "common/PathText.h"
#include "platform/FileHash.h"
#include "platform/JournalFile.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view JournalName = "FLog.journal";

}  // namespace

FilingTransaction::FilingTransaction(FileSystem& files, FilingFolders folders, StatusDisplay& display)
    : files_(files), folders_(std::move(folders)), display_(display) {}

/// Crash safety, rule 3: one flush makes the journal and the files that it names durable together.
void FilingTransaction::Commit(const FilingJournal& journal) {
  files_.WriteNew(JournalPath(), journal.ToBytes(), FileAccess::OwnerOnly);
  try {
    files_.Flush(FoldersOf(journal));
  } catch (const FileError&) {
    RemoveJournalQuietly();
    throw;
  }
}

/// When that fails too, the batch is still not committed: its staged files are removed, and a journal whose
/// staged files are missing commits nothing.
void FilingTransaction::RemoveJournalQuietly() {
  try {
    files_.Remove(JournalPath());
  } catch (const FileError&) {
    // The log gets the error that kept the journal from being flushed.
  }
}

void FilingTransaction::Publish(const FilingJournal& journal) {
  SetAside(journal);
  for (const FilingJournal::Staged& file : journal.staged) {
    files_.Rename(file.temporary, file.target);
    display_.ProcessEvents();
  }
  RemoveSources(journal);
}

std::optional<FiledBatch> FilingTransaction::Recover() {
  const std::optional<FilingJournal> journal = CommittedJournal();
  if (journal) PublishAgain(*journal);
  files_.Remove(JournalPath());
  RemoveLeftovers(folders_.archive);
  RemoveLeftovers(folders_.process);
  if (!journal) return std::nullopt;
  return FiledBatch{.files = journal->sources.size(), .document = DocumentOf(*journal)};
}

/// Returns the journal of a batch that an interrupted run had committed.
std::optional<FilingJournal> FilingTransaction::CommittedJournal() const {
  const std::optional<std::string> bytes = ReadJournalFile(files_, JournalPath());
  if (!bytes) return std::nullopt;
  std::optional<FilingJournal> journal = FilingJournal::FromBytes(*bytes);
  if (journal && !WasCommitted(*journal)) journal.reset();
  return journal;
}

/// Crash safety, rule 4: no staged file is published before the commit is durable, so a published one proves
/// the commit. When none is published, all must be complete under their temporary names.
bool FilingTransaction::WasCommitted(const FilingJournal& journal) const {
  const auto isPublished = [this](const FilingJournal::Staged& file) {
    return !files_.Exists(file.temporary) && Holds(file.target, file.content);
  };
  const auto isStaged = [this](const FilingJournal::Staged& file) {
    return Holds(file.temporary, file.content);
  };
  return std::any_of(journal.staged.begin(), journal.staged.end(), isPublished) ||
         std::all_of(journal.staged.begin(), journal.staged.end(), isStaged);
}

bool FilingTransaction::Holds(const fs::path& path, const ContentHash& content) const {
  return files_.IsFile(path) && HashFile(files_, path, display_) == content;
}

/// Crash safety, rule 5: does all steps after the commit again; those that are done have no effect.
void FilingTransaction::PublishAgain(const FilingJournal& journal) {
  // Files that a killed program wrote may not be durable yet.
  files_.Flush(FoldersOf(journal));
  SetAside(journal);
  for (const FilingJournal::Staged& file : journal.staged) {
    // Crash safety, rule 6: a power cut may bring an old journal back; a file of that temporary name then
    // belongs to another batch.
    if (!Holds(file.temporary, file.content)) continue;
    CreateProductFolder(files_, file.target);
    files_.Rename(file.temporary, file.target);
  }
  RemoveSources(journal);
}

/// Crash safety, rule 8: the new name must be durable before the old one is reused. After a power cut nothing
/// else shows whether the old name still belongs to the superseded document.
void FilingTransaction::SetAside(const FilingJournal& journal) {
  if (!journal.superseded || files_.Exists(journal.superseded->to)) return;
  if (!files_.Exists(journal.superseded->from)) return;  // somebody removed it meanwhile
  files_.Rename(journal.superseded->from, journal.superseded->to);
  const std::array folder{folders_.process};
  files_.Flush(folder);
}

/// Crash safety, rules 2 and 9: the published files are durable before a source is removed, and the removals
/// before the journal is.
void FilingTransaction::RemoveSources(const FilingJournal& journal) {
  const PathList folders = FoldersOf(journal);
  files_.Flush(folders);
  for (const FilingJournal::Source& source : journal.sources) {
    if (IsWhatWasFiled(source)) files_.Remove(source.path);
    display_.ProcessEvents();
  }
  files_.Flush(folders);
  files_.Remove(JournalPath());
}

/// Crash safety, rule 7: a file that its device has rewritten is not removed.
bool FilingTransaction::IsWhatWasFiled(const FilingJournal::Source& source) const {
  const std::optional<FileStamp> stamp = files_.RegularFileStamp(source.path);
  if (!stamp || source.stamp) return stamp && stamp == source.stamp;
  return HashFile(files_, source.path, display_) == source.content;
}

/// Returns the document of a recovered batch. After a power cut brought an old journal back, the document may
/// have been mailed and marked since, so its hash is returned only when the document still has it.
PendingFile FilingTransaction::DocumentOf(const FilingJournal& journal) const {
  PendingFile document{.path = journal.document, .content = std::nullopt};
  const auto staged =
      std::find_if(journal.staged.begin(), journal.staged.end(),
                   [&](const FilingJournal::Staged& file) { return file.target == journal.document; });
  if (staged == journal.staged.end()) return document;
  try {
    if (Holds(journal.document, staged->content)) document.content = staged->content;
  } catch (const FileError&) {
    // The send reads the document again and reports the error.
  }
  return document;
}

void FilingTransaction::RemoveLeftovers(const fs::path& folder) {
  for (const std::string& name : files_.ListFiles(folder, "")) {
    if (IsTemporaryName(name)) files_.Remove(folder / PathFromUtf8(name));
  }
}

PathList FilingTransaction::FoldersOf(const FilingJournal& journal) const {
  std::unordered_set<fs::path::string_type> folders{folders_.archive.native(), folders_.process.native()};
  for (const FilingJournal::Staged& file : journal.staged) folders.insert(file.target.parent_path().native());
  for (const FilingJournal::Source& source : journal.sources)
    folders.insert(source.path.parent_path().native());
  PathList result;
  std::copy_if(folders.begin(), folders.end(), std::back_inserter(result),
               [this](const fs::path& folder) { return files_.IsFolder(folder); });
  return result;
}

fs::path FilingTransaction::JournalPath() const {
  return folders_.process / JournalName;
}

}  // namespace fieldpost
