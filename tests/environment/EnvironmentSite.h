// The fixture of tests that need an installation: folders, registry, settings and log.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/PathText.h"
#include "environment/EditWinReg.h"
#include "environment/FolderTree.h"
#include "environment/InstallPaths.h"
#include "environment/LatestFolderStore.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "environment/RegistryKeys.h"
#include "platform/SqliteKeyStore.h"
#include "support/FakeClock.h"
#include "support/TempFolder.h"

namespace fieldpost::test {

/// An installation in a temporary folder before its first start. The program's own folder is "home".
struct EnvironmentSite {
  TempFolder folder;
  DiskFileSystem files;
  FakeClock clock;
  std::filesystem::path home = folder.Folder("home");
  SqliteKeyStore keys{files, folder.Path() / "registry.sqlite"};
  EditWinReg registry{keys};
  InstallPaths paths{files, registry, home};
  ModWriteLogFile log{files, clock, paths};
  MailSettingsStore settingsStore{files, home};
  MailSettings settings;
  LatestFolderStore latestStore{files, home};
  PathList latestFolders;
  FolderTree tree{files, paths, {settings, settingsStore, latestFolders, latestStore}, log};

  /// Returns the path of a folder of the Faultlog tree in the program's own folder.
  [[nodiscard]] std::filesystem::path Tree(std::string_view name) const {
    return home / "Faultlog" / PathFromUtf8(name);
  }

  /// Sets the registered installation path.
  void SetInstallPath(const std::string& path) {
    registry.CreateNewKey(HKEY_LOCAL_MACHINE, SuiteInstallPathKey);
    registry.SetKeyValue(HKEY_LOCAL_MACHINE, SuiteInstallPathKey, DefaultValue, path, REG_SZ);
  }

  /// Returns the lines of today's log without date and time.
  [[nodiscard]] std::vector<std::string> Log() const {
    std::vector<std::string> lines;
    const std::string text = ReadFile(log.TodaysFile());
    for (std::size_t from = 0; from < text.size();) {
      const std::size_t end = text.find("\r\n", from);
      if (end == std::string::npos) {
        lines.push_back("unfinished: " + text.substr(from));
        break;
      }
      const std::size_t tag = std::min(text.find("  ", from) + 2, end);
      lines.push_back(text.substr(tag, end - tag));
      from = end + 2;
    }
    return lines;
  }
};

/// An installation after its first start, without a log of today.
struct ReadyEnvironmentSite : EnvironmentSite {
  ReadyEnvironmentSite() {
    tree.CreateFolderTree();
    std::filesystem::remove(log.TodaysFile());
  }
};

}  // namespace fieldpost::test
