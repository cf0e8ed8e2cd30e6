// The parts of the program that know the site: settings, folders, registry and log.
#pragma once

#include <filesystem>

#include "common/RunFlags.h"
#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "common/UserPrompt.h"
#include "environment/EditWinReg.h"
#include "environment/FolderTree.h"
#include "environment/InstallPaths.h"
#include "environment/LatestFolderStore.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "environment/RunContext.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/KeyStore.h"
#include "smtp/MailTransport.h"

namespace fieldpost::test {

/// What a site hands to the parts that it tests; all of it outlives them.
struct SitePorts {
  FileSystem& files;
  const Clock& clock;
  KeyStore& keys;
  MailTransport& transport;
  UserPrompt& prompt;
  StatusDisplay& display;
};

/// Wired as FieldpostProgram wires them, under the same names.
struct EnvironmentParts {
  EnvironmentParts(const SitePorts& given, const std::filesystem::path& ownFolder)
      : ports(given),
        registry(ports.keys),
        paths(ports.files, registry, ownFolder),
        log(ports.files, ports.clock, paths),
        settingsStore(ports.files, ownFolder),
        settings(settingsStore.Load()),
        latestStore(ports.files, ownFolder),
        tree(ports.files, paths, {settings, settingsStore, lists.LatestFolderList, latestStore}, log) {}
  EnvironmentParts(const EnvironmentParts&) = delete;
  EnvironmentParts& operator=(const EnvironmentParts&) = delete;

  SitePorts ports;
  RunFlags flags;
  RunLists lists;
  EditWinReg registry;
  InstallPaths paths;
  ModWriteLogFile log;
  MailSettingsStore settingsStore;
  MailSettings settings;
  LatestFolderStore latestStore;
  FolderTree tree;
  RunContext run{ports.files, ports.clock, paths, settings, log};
};

}  // namespace fieldpost::test
