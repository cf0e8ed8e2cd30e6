#include "environment/LatestFolderStore.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "common/Limits.h"
#include "common/PathText.h"

namespace fieldpost {
namespace {

constexpr std::string_view Utf8ByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view Unstorable("\r\n\0", 3);

/// Returns the folders of the list `text`. Throws FileError when it is not a list.
PathList FoldersOf(std::string_view text, const std::filesystem::path& file) {
  PathList folders;
  if (text.starts_with(Utf8ByteOrderMark)) text.remove_prefix(Utf8ByteOrderMark.size());
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.find('\0') != std::string_view::npos) {
      throw FileError("cannot read", file, "it contains a zero byte, so it is not UTF-8 text");
    }
    if (folders.size() == MaxLatestFolders) {
      throw FileError("cannot read", file, fmt::format("it lists more than {} folders", MaxLatestFolders));
    }
    if (!line.empty()) folders.push_back(PathFromUtf8(WithSeparator(line)));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return folders;
}

/// Returns the list as text, or nothing when a name cannot be written as one line.
std::optional<std::string> TextOf(const PathList& folders) {
  std::string text;
  for (const std::filesystem::path& folder : folders) {
    const std::string name = Utf8FromPath(folder);
    if (name.find_first_of(Unstorable) != std::string::npos) return std::nullopt;
    if (!name.empty()) text.append(name).append("\n");
  }
  return text;
}

}  // namespace

LatestFolderStore::LatestFolderStore(FileSystem& files, const std::filesystem::path& ownFolder)
    : files_(files), file_(ownFolder / LatestListFileName) {}

void LatestFolderStore::LoadLatestFolders(PathList& folders) const {
  folders.clear();
  try {
    if (IsStored()) folders = FoldersOf(files_.ReadWhole(file_, MaxLatestListBytes), file_);
  } catch (const FileError&) {
    // Problem() reports it.
  }
}

std::string LatestFolderStore::Problem() const {
  try {
    if (IsStored()) static_cast<void>(FoldersOf(files_.ReadWhole(file_, MaxLatestListBytes), file_));
    return {};
  } catch (const FileError& error) {
    return error.what();
  }
}

std::string LatestFolderStore::SaveLatestFolders(const PathList& folders) {
  const std::optional<std::string> text = TextOf(folders);
  if (!text) return FileError("cannot write", file_, "a folder name contains a line break").what();
  try {
    // An unreadable list may become readable again, so it is not overwritten.
    const bool stored = IsStored();
    if (stored && files_.ReadWhole(file_, MaxLatestListBytes) == *text) return {};
    files_.SaveAtomically(file_, *text);
    return {};
  } catch (const FileError& error) {
    return error.what();
  }
}

bool LatestFolderStore::IsStored() const {
  return files_.Exists(file_);
}

}  // namespace fieldpost
