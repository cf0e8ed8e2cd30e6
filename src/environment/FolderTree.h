// Creates the Faultlog folder tree.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "common/RunLists.h"
#include "environment/InstallPaths.h"
#include "environment/LatestFolderStore.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The settings file of the service suite, in the installation path.
inline constexpr std::string_view FaultlogIniName = "faultlog.ini";

/// The settings that name folders of the tree, and the stores that keep them between runs.
struct FolderSettings {
  MailSettings& settings;
  MailSettingsStore& settingsStore;
  PathList& latestFolders;
  LatestFolderStore& latestStore;
};

/// Creates the missing folders of the tree and fills in the settings that name its folders.
class FolderTree {
 public:
  /// All arguments, and what `folders` refers to, must outlive the object.
  FolderTree(FileSystem& files, const InstallPaths& paths, const FolderSettings& folders,
             ModWriteLogFile& log);

  /// Loads the Latest folder list, adopts the tree that "faultlog.ini" names, and creates the missing folders
  /// of the tree under the installation path. Logs a line for each folder created under the installation
  /// path, for each folder that cannot be created, and for settings that cannot be saved.
  void CreateFolderTree();

  /// Whether the latest CreateFolderTree created every missing folder and saved the settings.
  [[nodiscard]] bool IsWhole() const { return isWhole_; }

  /// Returns the folder that contains the Faultlog folder, according to "faultlog.ini" in `installPath`: the
  /// part of the named folder before "faultlog", or the whole name when it does not contain that word in
  /// lower case. Ends in a separator. Returns an empty text when the entry is missing, which is logged, or
  /// names no folder.
  [[nodiscard]] std::string GetFaultlogRootFromIni(const std::string& installPath);

  /// Returns the Error folder, ending in the separator. Creates it when it is missing, and removes a file in
  /// it that has the name of `filePath`, so that the caller can move `filePath` there. When `filePath` is not
  /// a regular file, nothing is removed. The move reports any failure.
  std::filesystem::path PrepareErrorFolder(const std::filesystem::path& filePath);

 private:
  void AdoptIniTree(const std::string& installPath);
  void FillEmptySetting(std::string& setting, const std::string& folder);
  void CreateDefaultTree(std::string_view logFolder);
  void SetDefaultFolder(std::string& setting, std::string_view name);
  bool CreateTreeFolder(std::string_view name);
  void SaveLatest();
  void ReportUnsaved(std::string_view what, const std::string& problem);
  bool CreateFolder(const std::filesystem::path& folder);
  [[nodiscard]] bool IsFolder(const std::string& path) const;

  FileSystem& files_;
  const InstallPaths& paths_;
  FolderSettings folders_;
  ModWriteLogFile& log_;
  std::string created_;  // a log line for each folder created
  bool isWhole_ = true;
};

}  // namespace fieldpost
