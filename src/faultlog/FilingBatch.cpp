#include "faultlog/FilingBatch.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <unordered_set>
#include <utility>

#include "platform/FileHash.h"
#include "platform/JournalFile.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view JournalName = "FLog.journal";

}  // namespace

FilingBatch::FilingBatch(FileSystem& files, fs::path archiveFolder, fs::path processFolder,
                         StatusDisplay& display)
    : files_(files),
      display_(display),
      archiveFolder_(std::move(archiveFolder)),
      processFolder_(std::move(processFolder)) {}

FilingBatch::~FilingBatch() {
  Drop();
}

void FilingBatch::Accept(FaultloggerFile& file, const FileContent& content, const fs::path& source,
                         const fs::path& target) {
  const bool onDisk = files_.Exists(target);
  if (onDisk) RefuseTheSameFile(content.stamp, source, target);
  const bool open = openArchived_ && openArchived_->target == target;
  if (open || onDisk || stagedByTarget_.contains(target.native())) {
    if (!open) OpenForMerging(target);
    openArchived_->changed = openArchived_->file.MergeIntoArchived(file);
  } else {
    MakeFolderOf(target);
    StageArchived(target, file.Xml());
  }
  journal_.sources.push_back({.path = source, .content = HashContent(content.bytes), .stamp = content.stamp});
}

void FilingBatch::RefuseTheSameFile(const FileStamp& stamp, const fs::path& source,
                                    const fs::path& target) const {
  const FileStamp archived = files_.Stamp(target);
  if (archived.device != stamp.device || archived.file != stamp.file) return;
  throw FileError("cannot file", source, "it is the archived file itself");
}

void FilingBatch::OpenForMerging(const fs::path& target) {
  StageOpenArchived();
  const auto staged = stagedByTarget_.find(target.native());
  const fs::path& where =
      staged == stagedByTarget_.end() ? target : journal_.staged[staged->second].temporary;
  OpenArchived opened{.target = target, .file = {}};
  if (!opened.file.Load(files_.ReadWhole(where, AnySize))) {
    throw FileError("cannot merge into", target, opened.file.Reason());
  }
  openArchived_ = std::move(opened);
}

void FilingBatch::StageOpenArchived() {
  if (!openArchived_ || !openArchived_->changed) return;
  StageArchived(openArchived_->target, openArchived_->file.Xml());
  openArchived_->changed = false;
}

void FilingBatch::MakeFolderOf(const fs::path& target) {
  fs::path folder = target.parent_path();
  if (knownFolders_.contains(folder.native())) return;
  if (!files_.IsFolder(folder)) files_.CreateFolder(folder, FileAccess::ByUmask);
  knownFolders_.insert(std::move(folder).native());
}

void FilingBatch::StageArchived(const fs::path& target, std::string_view bytes) {
  // Temporary files lie in the Archive folder itself, never in a product folder: what an interrupted run left
  // is found there without a search through the whole archive.
  const fs::path temporary = TemporaryNameFor(archiveFolder_ / std::to_string(++temporaryNumber_));
  files_.WriteNew(temporary, bytes, FileAccess::ByUmask);
  const auto [place, isNew] = stagedByTarget_.try_emplace(target.native(), journal_.staged.size());
  if (isNew) {
    journal_.staged.push_back({.temporary = temporary, .target = target, .content = HashContent(bytes)});
    return;
  }
  FilingJournal::Staged& staged = journal_.staged[place->second];
  staged.content = HashContent(bytes);
  files_.Remove(std::exchange(staged.temporary, temporary));
}

void FilingBatch::StageDocument(const fs::path& document, std::string_view text) {
  const fs::path temporary = TemporaryNameFor(document);
  files_.Remove(temporary);
  files_.WriteNew(temporary, text, FileAccess::ByUmask);
  journal_.staged.push_back({.temporary = temporary, .target = document, .content = HashContent(text)});
  journal_.document = document;
}

void FilingBatch::Displace(const fs::path& document, const fs::path& freeName) {
  journal_.displaced = FilingJournal::Displaced{.from = document, .to = freeName};
}

std::size_t FilingBatch::Publish(const fs::path& document, std::string_view text) {
  try {
    StageOpenArchived();
    StageDocument(document, text);
    Decide();
  } catch (const FileError&) {
    Drop();
    throw;
  }
  // From here on the journal on disk speaks for the batch, whatever fails.
  const FilingJournal journal = std::exchange(journal_, {});
  stagedByTarget_.clear();
  knownFolders_.clear();
  MakeRoom(journal);
  for (const auto& [temporary, target, content] : journal.staged) {
    files_.Rename(temporary, target);
    display_.ProcessEvents();
  }
  RemoveSources(journal);
  return journal.sources.size();
}

void FilingBatch::Decide() {
  files_.WriteNew(JournalPath(), journal_.ToBytes(), FileAccess::OwnerOnly);
  try {
    files_.Flush(FoldersOf(journal_));
  } catch (const FileError&) {
    TakeBackDecision();
    throw;
  }
}

/// Where even that fails, the batch's files are removed all the same, and a journal of files that are not
/// there decides nothing.
void FilingBatch::TakeBackDecision() {
  try {
    files_.Remove(JournalPath());
  } catch (const FileError&) {
    // what kept the journal from being flushed is what the log tells
  }
}

void FilingBatch::Drop() noexcept {
  const FilingJournal dropped = std::exchange(journal_, {});
  stagedByTarget_.clear();
  knownFolders_.clear();
  openArchived_.reset();
  try {
    for (const FilingJournal::Staged& file : dropped.staged) files_.Remove(file.temporary);
  } catch (const std::exception&) {
    // The next run removes them: without a journal they mean nothing.
  }
}

std::size_t FilingBatch::FinishInterrupted(PathList& documents) {
  const std::optional<FilingJournal> journal = ReadJournal();
  if (journal) {
    // What a program wrote that was killed since may not be on the disk yet.
    files_.Flush(FoldersOf(*journal));
    MakeRoom(*journal);
    for (const auto& [temporary, target, content] : journal->staged) {
      // a power cut may bring an old journal back, and what bears the name now is another batch's file
      if (!Holds(temporary, content)) continue;
      MakeFolderOf(target);
      files_.Rename(temporary, target);
    }
    RemoveSources(*journal);
    documents.push_back(journal->document);
  }
  files_.Remove(JournalPath());
  RemoveLeftovers(archiveFolder_);
  RemoveLeftovers(processFolder_);
  return journal ? journal->sources.size() : 0;
}

/// The journal of a batch that an interrupted run had decided.
std::optional<FilingJournal> FilingBatch::ReadJournal() const {
  const std::optional<std::string> bytes = ReadJournalFile(files_, JournalPath());
  if (!bytes) return std::nullopt;
  std::optional<FilingJournal> journal = FilingJournal::FromBytes(*bytes);
  if (journal && !WasDecided(*journal)) journal.reset();
  return journal;
}

/// No file gets its name before the decision is durable: one that has it proves the decision, and where none
/// has, all must be there whole under their temporary names.
bool FilingBatch::WasDecided(const FilingJournal& journal) const {
  const auto hasItsName = [this](const FilingJournal::Staged& file) {
    return !files_.Exists(file.temporary) && Holds(file.target, file.content);
  };
  const auto isStaged = [this](const FilingJournal::Staged& file) {
    return Holds(file.temporary, file.content);
  };
  return std::any_of(journal.staged.begin(), journal.staged.end(), hasItsName) ||
         std::all_of(journal.staged.begin(), journal.staged.end(), isStaged);
}

bool FilingBatch::Holds(const fs::path& path, const ContentHash& content) const {
  return files_.IsFile(path) && HashFile(files_, path, display_) == content;
}

/// The new name must be durable before the old one is taken: after a power cut nothing else tells whether the
/// old one still bears the old document.
void FilingBatch::MakeRoom(const FilingJournal& journal) {
  if (!journal.displaced || files_.Exists(journal.displaced->to)) return;
  if (!files_.Exists(journal.displaced->from)) return;  // its reader took it away meanwhile
  files_.Rename(journal.displaced->from, journal.displaced->to);
  const std::array folder{processFolder_};
  files_.Flush(folder);
}

void FilingBatch::RemoveSources(const FilingJournal& journal) {
  const PathList folders = FoldersOf(journal);
  files_.Flush(folders);
  for (const FilingJournal::Source& source : journal.sources) {
    if (IsWhatWasFiled(source)) files_.Remove(source.path);
    display_.ProcessEvents();
  }
  files_.Flush(folders);
  files_.Remove(JournalPath());
}

bool FilingBatch::IsWhatWasFiled(const FilingJournal::Source& source) const {
  // A file that its device has written anew meanwhile is another one.
  const std::optional<FileStamp> stamp = files_.RegularFileStamp(source.path);
  if (!stamp || source.stamp) return stamp && stamp == source.stamp;
  return HashFile(files_, source.path, display_) == source.content;
}

void FilingBatch::RemoveLeftovers(const fs::path& folder) {
  for (const std::string& name : files_.ListFiles(folder, "")) {
    if (IsTemporaryName(name)) files_.Remove(folder / name);
  }
}

PathList FilingBatch::FoldersOf(const FilingJournal& journal) const {
  std::unordered_set<fs::path::string_type> folders{archiveFolder_.native(), processFolder_.native()};
  for (const FilingJournal::Staged& file : journal.staged) folders.insert(file.target.parent_path().native());
  for (const FilingJournal::Source& source : journal.sources)
    folders.insert(source.path.parent_path().native());
  PathList result;
  std::copy_if(folders.begin(), folders.end(), std::back_inserter(result),
               [this](const fs::path& folder) { return files_.IsFolder(folder); });
  return result;
}

fs::path FilingBatch::JournalPath() const {
  return processFolder_ / JournalName;
}

}  // namespace fieldpost
