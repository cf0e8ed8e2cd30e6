// Stores the list of Latest folders.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/RunLists.h"
#include "platform/FileSystem.h"

namespace fieldpost {

inline constexpr std::string_view LatestListFileName = "LatestList.dat";

/// Reads and writes "LatestList.dat" in the program's own folder. The file has one folder on each line, in
/// order, in UTF-8; outside Windows, a name is stored as the bytes of which it consists.
class LatestFolderStore {
 public:
  /// `ownFolder` is the program's own folder. Does not access the file.
  LatestFolderStore(FileSystem& files, const std::filesystem::path& ownFolder);

  /// Replaces the content of `folders` by the stored folders, each ending in the separator. The list is empty
  /// when the file is missing, empty or unreadable; IsStored and Problem tell these apart. Never throws.
  void LoadLatestFolders(PathList& folders) const;

  /// Returns one line that says why the file is unreadable, or an empty text when it is readable or missing.
  /// Never throws.
  [[nodiscard]] std::string Problem() const;

  /// Stores the folders unchanged, except that empty names are omitted. Returns an empty text on success.
  /// When a name contains a line break or a NUL, the stored file is unreadable or it cannot be written, the
  /// file stays as it was, and the result is one line that says why.
  [[nodiscard]] std::string SaveLatestFolders(const PathList& folders);

  /// Whether the file exists, even if its list is empty.
  [[nodiscard]] bool IsStored() const;

  /// Returns the path of the file.
  [[nodiscard]] const std::filesystem::path& File() const { return file_; }

 private:
  FileSystem& files_;
  std::filesystem::path file_;
};

}  // namespace fieldpost
