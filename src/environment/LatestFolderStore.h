// The list of Latest folders, kept between runs.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "common/RunLists.h"
#include "platform/FileSystem.h"

namespace fieldpost {

inline constexpr std::string_view LatestListFileName = "LatestList.dat";

/// "LatestList.dat" in the program's own folder: one folder a line, in order, UTF-8 (outside Windows the
/// bytes of the name, whatever they are).
class LatestFolderStore {
 public:
  /// `ownFolder` is the program's own folder. Touches no file.
  LatestFolderStore(FileSystem& files, const std::filesystem::path& ownFolder);

  /// Fills the list with the stored folders, each ending in the separator. The list is empty when none were
  /// stored or the file cannot be read. Never throws.
  void LoadLatestFolders(PathList& folders) const;

  /// One line on why what is stored cannot be read; empty when it can, or nothing is stored. Never throws.
  [[nodiscard]] std::string Problem() const;

  /// Stores the folders as they stand; empty ones are left out. False, and the file as it was, when a name
  /// has a line break or a NUL in it, when what is stored cannot be read, or the file cannot be written.
  bool SaveLatestFolders(const PathList& folders);

  /// The same. Returns one line on why nothing was stored; empty when the folders are.
  std::string TrySaveLatestFolders(const PathList& folders);

  /// Whether a list was ever stored, be it an empty one.
  [[nodiscard]] bool IsStored() const;

  [[nodiscard]] const std::filesystem::path& File() const { return file_; }

 private:
  FileSystem& files_;
  std::filesystem::path file_;
};

}  // namespace fieldpost
