#include "faultlog/StagedArchive.h"

#include <exception>
#include <string>
#include <utility>

#include "faultlog/FilingFolders.h"

namespace fieldpost {

namespace fs = std::filesystem;

StagedArchive::StagedArchive(FileSystem& files, fs::path archiveFolder)
    : files_(files), folder_(std::move(archiveFolder)) {}

StagedArchive::~StagedArchive() {
  RollBack();
}

void StagedArchive::Add(FaultloggerFile& file, const FileStamp& stamp, const fs::path& source,
                        const fs::path& target) {
  const bool onDisk = files_.Exists(target);
  if (onDisk) RefuseSameFile(stamp, source, target);
  const bool isOpen = open_ && open_->target == target;
  if (isOpen || onDisk || placeByTarget_.contains(target.native())) {
    if (!isOpen) Open(target);
    open_->changed = open_->file.MergeIntoArchived(file);
  } else {
    CreateProductFolder(files_, target);
    Stage(target, file.Xml());
  }
}

void StagedArchive::RefuseSameFile(const FileStamp& stamp, const fs::path& source,
                                   const fs::path& target) const {
  const FileStamp archived = files_.Stamp(target);
  if (archived.device != stamp.device || archived.file != stamp.file) return;
  throw FileError("cannot file", source, "it is the archived file itself");
}

void StagedArchive::Open(const fs::path& target) {
  StageOpen();
  const auto place = placeByTarget_.find(target.native());
  const fs::path& current = place == placeByTarget_.end() ? target : staged_[place->second].temporary;
  OpenArchived opened{.target = target, .file = {}};
  if (!opened.file.Load(files_.ReadWhole(current, AnySize))) {
    throw FileError("cannot merge into", target, opened.file.Reason());
  }
  open_ = std::move(opened);
}

void StagedArchive::StageOpen() {
  if (!open_ || !open_->changed) return;
  Stage(open_->target, open_->file.Xml());
  open_->changed = false;
}

void StagedArchive::Stage(const fs::path& target, std::string_view bytes) {
  const fs::path temporary = TemporaryNameFor(folder_ / std::to_string(++temporaryNumber_));
  files_.WriteNew(temporary, bytes, FileAccess::ByUmask);
  const auto [place, isNew] = placeByTarget_.try_emplace(target.native(), staged_.size());
  if (isNew) {
    staged_.push_back({.temporary = temporary, .target = target, .content = HashContent(bytes)});
    return;
  }
  FilingJournal::Staged& staged = staged_[place->second];
  staged.content = HashContent(bytes);
  files_.Remove(std::exchange(staged.temporary, temporary));
}

std::vector<FilingJournal::Staged> StagedArchive::Take() {
  StageOpen();
  placeByTarget_.clear();
  return std::exchange(staged_, {});
}

void StagedArchive::RollBack() noexcept {
  RemoveStaged(files_, staged_);
  staged_.clear();
  placeByTarget_.clear();
  open_.reset();
}

void RemoveStaged(FileSystem& files, std::span<const FilingJournal::Staged> staged) noexcept {
  for (const FilingJournal::Staged& file : staged) {
    try {
      files.Remove(file.temporary);
    } catch (const std::exception&) {
      // The next run removes what is left: without a journal it means nothing.
    }
  }
}

}  // namespace fieldpost
