// The Faultlog folder tree: made where it is missing.
#pragma once

#include <filesystem>
#include <string>

#include "common/RunLists.h"
#include "environment/InstallPaths.h"
#include "environment/LatestFolderStore.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Finds the tree, makes what is missing of it and fills in the settings that name its folders.
class FolderTree {
 public:
  FolderTree(FileSystem& files, const InstallPaths& paths, MailSettings& settings,
             MailSettingsStore& settingsStore, LatestFolderStore& latestStore, RunLists& lists,
             ModWriteLogFile& log);

  /// Loads the Latest folder list, takes over the tree that "faultlog.ini" names, and makes what is missing
  /// of the one under the installation path; the log gets a line for each folder of that made. A folder that
  /// cannot be made is named in the log, and so is what cannot be saved of the settings.
  void CreateFolderTree();

  /// Whether CreateFolderTree could make and save everything.
  [[nodiscard]] bool IsWhole() const { return isWhole_; }

  /// What stands before "faultlog" in the folder that "faultlog.ini" of this installation path names, with a
  /// separator at its end; the search for that word knows case. Empty when there is no such folder.
  [[nodiscard]] std::string GetFaultlogRootFromIni(const std::string& installPath);

  /// The Error folder, made where it is missing, with no file in it that bears the name of `filePath`.
  std::filesystem::path PrepareErrorFolder(const std::filesystem::path& filePath);

 private:
  void TakeOverIniTree(const std::string& installPath);
  void FillEmptySetting(std::string& setting, const std::string& folder);
  void MakeDefaultTree(std::string_view logFolder);
  void MakeDefaultFor(std::string& setting, std::string_view name);
  bool MakeTreeFolder(std::string_view name);
  void SaveLatest();
  void Note(std::string_view what, const std::string& problem);
  bool TryCreate(const std::filesystem::path& folder);
  [[nodiscard]] bool IsFolder(const std::string& path) const;

  FileSystem& files_;
  const InstallPaths& paths_;
  MailSettings& settings_;
  MailSettingsStore& settingsStore_;
  LatestFolderStore& latestStore_;
  RunLists& lists_;
  ModWriteLogFile& log_;
  std::string created_;  // a line for each folder made
  bool isWhole_ = true;
};

}  // namespace fieldpost
