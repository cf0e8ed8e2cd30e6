#include "environment/FolderTree.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "common/PathText.h"
#include "common/Text.h"
#include "platform/IniFile.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view IniName = "faultlog.ini";

}  // namespace

FolderTree::FolderTree(FileSystem& files, const InstallPaths& paths, MailSettings& settings,
                       MailSettingsStore& settingsStore, LatestFolderStore& latestStore, RunLists& lists,
                       ModWriteLogFile& log)
    : files_(files),
      paths_(paths),
      settings_(settings),
      settingsStore_(settingsStore),
      latestStore_(latestStore),
      lists_(lists),
      log_(log) {}

void FolderTree::CreateFolderTree() {
  const MailSettings before = settings_;
  isWhole_ = true;
  latestStore_.LoadLatestFolders(lists_.LatestFolderList);
  // There is something to log on the way to the tree already; the log tells of its folder in its turn.
  MakeTreeFolder("Log");
  const std::string logFolder = std::exchange(created_, {});
  TakeOverIniTree(paths_.RegisteredPath());
  MakeDefaultTree(logFolder);
  const bool changed =
      before.ArchiveFolder != settings_.ArchiveFolder || before.ProcessFolder != settings_.ProcessFolder;
  if (changed) Note("The Archive and Process folders were not saved", settingsStore_.TrySave(settings_));
}

void FolderTree::SaveLatest() {
  Note("The list of Latest folders was not saved",
       latestStore_.TrySaveLatestFolders(lists_.LatestFolderList));
}

void FolderTree::Note(std::string_view what, const std::string& problem) {
  if (problem.empty()) return;
  log_.WriteLog(fmt::format("{}: {}", what, problem), LogCategory::Error);
  isWhole_ = false;
}

std::string FolderTree::GetFaultlogRootFromIni(const std::string& installPath) {
  if (installPath.empty() || !IsFolder(installPath)) return {};
  const fs::path ini = FindFileNoCase(files_, PathFromUtf8(installPath), IniName);
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

void FolderTree::TakeOverIniTree(const std::string& installPath) {
  if (installPath.empty()) return;
  if (!files_.IsFile(FindFileNoCase(files_, PathFromUtf8(installPath), IniName))) return;
  const std::string root = GetFaultlogRootFromIni(installPath);
  if (root.empty() || !IsFolder(root + "Faultlog")) return;
  const std::string tree = WithSeparator(root + "Faultlog");

  const std::string latest = WithSeparator(tree + "Latest");
  const bool known =
      std::any_of(lists_.LatestFolderList.begin(), lists_.LatestFolderList.end(),
                  [&](const fs::path& folder) { return EqualNoCase(Utf8FromPath(folder), latest); });
  if (!known) {
    const bool made = TryCreate(PathFromUtf8(tree + "Latest"));
    lists_.LatestFolderList.push_back(PathFromUtf8(latest));
    if (made) SaveLatest();
  }
  FillEmptySetting(settings_.ArchiveFolder, tree + "Archive");
  FillEmptySetting(settings_.ProcessFolder, tree + "Process");
}

void FolderTree::FillEmptySetting(std::string& setting, const std::string& folder) {
  if (!setting.empty()) return;
  TryCreate(PathFromUtf8(folder));
  setting = WithSeparator(folder);
}

void FolderTree::MakeDefaultTree(std::string_view logFolder) {
  if (lists_.LatestFolderList.empty()) {
    const bool made = MakeTreeFolder("Latest");
    lists_.LatestFolderList.push_back(
        PathFromUtf8(WithSeparator(Utf8FromPath(paths_.FaultlogFolder("Latest")))));
    if (made) SaveLatest();  // a list without a folder would never have it made
  }
  MakeDefaultFor(settings_.ArchiveFolder, "Archive");
  MakeDefaultFor(settings_.ProcessFolder, "Process");
  created_ += logFolder;
  for (const std::string_view name : {"Error", "PPCTemp"}) MakeTreeFolder(name);
  log_.WriteLog(created_, LogCategory::CreateMissing);
  created_.clear();
}

void FolderTree::MakeDefaultFor(std::string& setting, std::string_view name) {
  if (!setting.empty() && IsFolder(setting)) return;
  MakeTreeFolder(name);
  setting = WithSeparator(Utf8FromPath(paths_.FaultlogFolder(name)));
}

/// Whether the folder is there, made now or before.
bool FolderTree::MakeTreeFolder(std::string_view name) {
  const fs::path folder = paths_.FaultlogFolder(name);
  if (files_.IsFolder(folder)) return true;
  if (!TryCreate(folder.parent_path()) || !TryCreate(folder)) return false;
  created_ += fmt::format("{}{}[{}]\r\n", Utf8FromPath(folder.parent_path()), PathSeparator, name);
  return true;
}

bool FolderTree::TryCreate(const fs::path& folder) {
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
  TryCreate(folder.parent_path());
  TryCreate(folder);
  try {
    if (files_.IsFile(filePath)) files_.Remove(folder / filePath.filename());
  } catch (const FileError&) {
    // The move that follows says what is wrong.
  }
  return folder / "";
}

}  // namespace fieldpost
