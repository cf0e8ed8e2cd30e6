#include "environment/FolderTree.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "common/PathText.h"
#include "common/Text.h"
#include "platform/IniFile.h"

namespace fieldpost {

namespace fs = std::filesystem;

FolderTree::FolderTree(FileSystem& files, const InstallPaths& paths, const FolderSettings& folders,
                       ModWriteLogFile& log)
    : files_(files), paths_(paths), folders_(folders), log_(log) {}

void FolderTree::CreateFolderTree() {
  const MailSettings before = folders_.settings;
  isWhole_ = true;
  folders_.latestStore.LoadLatestFolders(folders_.latestFolders);
  // The steps below may write to the log. The line about its own folder is logged in the order of the tree.
  CreateTreeFolder("Log");
  const std::string logFolder = std::exchange(created_, {});
  AdoptIniTree(paths_.RegisteredPath());
  CreateDefaultTree(logFolder);
  const MailSettings& now = folders_.settings;
  if (before.ArchiveFolder == now.ArchiveFolder && before.ProcessFolder == now.ProcessFolder) return;
  ReportUnsaved("The Archive and Process folders were not saved", folders_.settingsStore.Save(now));
}

void FolderTree::SaveLatest() {
  ReportUnsaved("The list of Latest folders was not saved",
                folders_.latestStore.SaveLatestFolders(folders_.latestFolders));
}

void FolderTree::ReportUnsaved(std::string_view what, const std::string& problem) {
  if (problem.empty()) return;
  log_.WriteLog(fmt::format("{}: {}", what, problem), LogCategory::Error);
  isWhole_ = false;
}

std::string FolderTree::GetFaultlogRootFromIni(const std::string& installPath) {
  if (installPath.empty() || !IsFolder(installPath)) return {};
  const fs::path ini = FindFileNoCase(files_, PathFromUtf8(installPath), FaultlogIniName);
  const std::string value = ReadIniValue(files_, ini, "Directories", "FaultLog");
  if (value.empty()) {
    log_.WriteLog("Faultlog path settings not found in Faultlog.ini", LogCategory::Error);
    return {};
  }
  const std::string folder(Trimmed(value.substr(0, value.find('\0'))));
  if (folder.empty() || !IsFolder(folder)) return {};
  const std::size_t place = folder.find("faultlog");
  return place == std::string::npos ? WithSeparator(folder) : folder.substr(0, place);
}

void FolderTree::AdoptIniTree(const std::string& installPath) {
  if (installPath.empty()) return;
  if (!files_.IsFile(FindFileNoCase(files_, PathFromUtf8(installPath), FaultlogIniName))) return;
  const std::string root = GetFaultlogRootFromIni(installPath);
  if (root.empty() || !IsFolder(root + "Faultlog")) return;
  const std::string tree = WithSeparator(root + "Faultlog");

  const std::string latest = WithSeparator(tree + "Latest");
  const bool known =
      std::any_of(folders_.latestFolders.begin(), folders_.latestFolders.end(),
                  [&](const fs::path& folder) { return EqualNoCase(Utf8FromPath(folder), latest); });
  if (!known) {
    const bool exists = CreateFolder(PathFromUtf8(tree + "Latest"));
    folders_.latestFolders.push_back(PathFromUtf8(latest));
    if (exists) SaveLatest();
  }
  FillEmptySetting(folders_.settings.ArchiveFolder, tree + "Archive");
  FillEmptySetting(folders_.settings.ProcessFolder, tree + "Process");
}

void FolderTree::FillEmptySetting(std::string& setting, const std::string& folder) {
  if (!setting.empty()) return;
  CreateFolder(PathFromUtf8(folder));
  setting = WithSeparator(folder);
}

void FolderTree::CreateDefaultTree(std::string_view logFolder) {
  if (folders_.latestFolders.empty()) {
    const bool exists = CreateTreeFolder("Latest");
    folders_.latestFolders.push_back(
        PathFromUtf8(WithSeparator(Utf8FromPath(paths_.FaultlogFolder("Latest")))));
    // The folder is created only while the list is empty, so a list without its folder is not saved.
    if (exists) SaveLatest();
  }
  SetDefaultFolder(folders_.settings.ArchiveFolder, "Archive");
  SetDefaultFolder(folders_.settings.ProcessFolder, "Process");
  created_ += logFolder;
  for (const std::string_view name : {"Error", "PPCTemp"}) CreateTreeFolder(name);
  log_.WriteLog(created_, LogCategory::CreateMissing);
  created_.clear();
}

void FolderTree::SetDefaultFolder(std::string& setting, std::string_view name) {
  if (!setting.empty() && IsFolder(setting)) return;
  CreateTreeFolder(name);
  setting = WithSeparator(Utf8FromPath(paths_.FaultlogFolder(name)));
}

/// Creates a folder of the tree when it is missing. Returns whether it exists now.
bool FolderTree::CreateTreeFolder(std::string_view name) {
  const fs::path folder = paths_.FaultlogFolder(name);
  if (files_.IsFolder(folder)) return true;
  if (!CreateFolder(folder.parent_path()) || !CreateFolder(folder)) return false;
  created_ += fmt::format("{}{}[{}]\r\n", Utf8FromPath(folder.parent_path()), PathSeparator, name);
  return true;
}

/// Creates a folder when it is missing. Logs a failure, and returns whether the folder exists now.
bool FolderTree::CreateFolder(const fs::path& folder) {
  if (files_.IsFolder(folder)) return true;
  try {
    files_.CreateFolder(folder, FileAccess::ByUmask);
    return true;
  } catch (const FileError& error) {
    log_.WriteLog(error.what(), LogCategory::Error);
    isWhole_ = false;
    return false;
  }
}

bool FolderTree::IsFolder(const std::string& path) const {
  return files_.IsFolder(PathFromUtf8(path));
}

fs::path FolderTree::PrepareErrorFolder(const fs::path& filePath) {
  const fs::path folder = paths_.FaultlogFolder("Error");
  CreateFolder(folder.parent_path());
  CreateFolder(folder);
  try {
    if (files_.IsFile(filePath)) files_.Remove(folder / filePath.filename());
  } catch (const FileError&) {
    // The move that follows reports the reason.
  }
  return folder / "";
}

}  // namespace fieldpost
