// The folders of the program and of the service suite.
#pragma once

#include <filesystem>
#include <string>

#include "environment/EditWinReg.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Finds the program's own folder and the installation path that it shares with the service suite. Writes
/// neither to the log nor to the file system.
class InstallPaths {
 public:
  /// `ownFolder` is the program's own folder. `files` and `registry` must outlive the object.
  InstallPaths(const FileSystem& files, EditWinReg& registry, std::filesystem::path ownFolder);

  /// Returns the program's own folder.
  [[nodiscard]] const std::filesystem::path& OwnFolder() const { return ownFolder_; }

  /// Returns the installation path as the suite's registry value states it (UTF-8), or an empty text when the
  /// value is missing.
  [[nodiscard]] std::string RegisteredPath() const;

  /// Returns the installation path without a separator at its end: the registered path when it exists,
  /// otherwise the program's own folder.
  [[nodiscard]] std::filesystem::path GetInstallPath() const;

  /// Returns the path of a folder of the Faultlog tree, for example "Log". The folder may be missing.
  [[nodiscard]] std::filesystem::path FaultlogFolder(std::string_view name) const;

 private:
  const FileSystem& files_;
  EditWinReg& registry_;
  std::filesystem::path ownFolder_;
};

}  // namespace fieldpost
