#include "archive/ArchiveList.h"

#include <iterator>
#include <utility>

#include "common/CharMask.h"
#include "common/DateText.h"
#include "common/PathText.h"
#include "platform/Clock.h"

namespace fieldpost {
namespace fs = std::filesystem;
namespace {

constexpr std::uint64_t LargestPlainSize = 1000;
constexpr std::string_view SizePattern = "@@@@@@@.@@@";

}  // namespace

std::string SizeText(std::uint64_t bytes) {
  return bytes > LargestPlainSize ? FormatCharMask(bytes, SizePattern) : std::to_string(bytes);
}

std::string ModifiedText(const FileStamp& stamp) {
  return PlainDate(LocalTimeOf(stamp.modifiedNanoseconds));
}

void ArchiveList::Clear() {
  if (!listed_.empty()) remembered_[listed_] = std::move(rows_);
  rows_.clear();
  listed_.clear();
}

void ArchiveList::Fill(const fs::path& archive, const std::string& productCode, StatusDisplay& display) {
  Clear();
  const fs::path path = archive / PathFromUtf8(productCode);
  const std::unique_ptr<FolderHandle> folder = files_.OpenFolder(archive)->OpenFolder(productCode);
  std::vector<std::string> names = folder->ListFiles(".xml");
  const Remembered known = std::move(remembered_[path]);
  listed_ = path;
  rows_.reserve(names.size());
  display.SetRange(names.size());
  auto next = known.begin();
  for (std::size_t i = 0; i < names.size() && !display.IsCancelled(); ++i) {
    AddRow(*folder, std::move(names[i]), next, known.end(), display);
    display.SetPosition(i);
    display.ProcessEvents();
  }
}

/// The names and the known rows are in the same order, so that one pass over both finds every known name.
void ArchiveList::AddRow(const FolderHandle& folder, std::string name, Remembered::const_iterator& known,
                         Remembered::const_iterator end, StatusDisplay& display) {
  const std::optional<FileStamp> stamp = folder.RegularFileStamp(name);
  if (!stamp) return;
  ArchiveRow row{.name = std::move(name), .stamp = *stamp, .mode = NoModeIndicator};
  while (known != end && known->name < row.name) ++known;
  if (known != end && known->name == row.name && known->stamp == row.stamp && known->wasRead) {
    row.mode = known->mode;
  } else {
    ReadMode(folder, row, display);
    if (display.IsCancelled()) return;
  }
  rows_.push_back(std::move(row));
}

void ArchiveList::ReadMode(const FolderHandle& folder, ArchiveRow& row, StatusDisplay& display) {
  try {
    row.mode = ModeWord(reader_.Read(*folder.OpenRegularFile(row.name), display));
  } catch (const FileError&) {
    row.wasRead = false;
  }
}

}  // namespace fieldpost
