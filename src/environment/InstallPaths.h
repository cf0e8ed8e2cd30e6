// Where the program and the service suite lie.
#pragma once

#include <filesystem>
#include <string>

#include "environment/EditWinReg.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The program's own folder and the installation path that it shares with the service suite. Only looks;
/// never logs and never creates anything.
class InstallPaths {
 public:
  InstallPaths(const FileSystem& files, EditWinReg& registry, std::filesystem::path ownFolder);

  [[nodiscard]] const std::filesystem::path& OwnFolder() const { return ownFolder_; }

  /// The suite's registry value as it stands, UTF-8; empty when there is none.
  [[nodiscard]] std::string RegisteredPath() const;

  /// The installation path, without a separator at its end: the registered path when it exists, else the
  /// program's own folder.
  [[nodiscard]] std::filesystem::path GetInstallPath() const;

  /// A folder of the Faultlog tree under the installation path: "Log", "Error", "PPCTemp" and so on.
  [[nodiscard]] std::filesystem::path FaultlogFolder(std::string_view name) const;

 private:
  const FileSystem& files_;
  EditWinReg& registry_;
  std::filesystem::path ownFolder_;
};

}  // namespace fieldpost
