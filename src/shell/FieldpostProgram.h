// The one owner of the program-wide state and of the parts of the program.
#pragma once

#include <filesystem>

#include "common/RunFlags.h"
#include "common/RunLists.h"
#include "common/Screen.h"
#include "common/StatusDisplay.h"
#include "common/UserPrompt.h"
#include "environment/EditWinReg.h"
#include "environment/FolderTree.h"
#include "environment/InstallPaths.h"
#include "environment/LatestFolderStore.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "environment/RunContext.h"
#include "faultlog/LatestScan.h"
#include "options/OptionsStore.h"
#include "outbox/MailSettingsCheck.h"
#include "outbox/SendLoop.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/KeyStore.h"
#include "platform/PpcLibrary.h"
#include "ppc/ModAttachment.h"
#include "ppc/PPCAttachments.h"
#include "ppc/PpcRun.h"
#include "smtp/MailTransport.h"

namespace fieldpost {

/// The services of the system and of the user interface that the program uses; all of them must outlive it.
struct Ports {
  FileSystem& files;
  const Clock& clock;
  KeyStore& keys;
  MailTransport& transport;
  UserPrompt& prompt;
  StatusDisplay& display;
};

/// Owns the parts and wires them; it has no behaviour. Only the drivers of a run see it whole; each part
/// receives just what it uses.
class FieldpostProgram {
 public:
  /// Loads the settings. `ownFolder` is the program's own folder and must exist.
  FieldpostProgram(const Ports& ports, const std::filesystem::path& ownFolder);

  Ports ports;
  RunFlags flags;
  RunLists lists;
  EditWinReg registry;              // needs: ports
  InstallPaths paths;               // needs: ports, registry
  ModWriteLogFile log;              // needs: ports, paths
  MailSettingsStore settingsStore;  // needs: ports
  MailSettings settings;            // needs: settingsStore
  LatestFolderStore latestStore;    // needs: ports
  OptionsStore optionsStore;        // needs: ports, settings, lists
  FolderTree tree;                  // needs: paths, settings, both stores, lists, log
  RunContext run;                   // needs: ports, paths, settings, log
  Screen screen;                    // needs: ports, flags
  MailSettingsCheck check;          // needs: settings, settingsStore, registry, log, screen
  SendLoop sendLoop;                // needs: run, screen, lists, check, ports
  LatestScan scan;                  // needs: nearly all of them
  PpcLibrary ppcLibrary;            // needs: nothing
  ModAttachment ppcDatabase;        // needs: ports, paths, registry, ppcLibrary
  PPCAttachments ppcAttachments;    // needs: run, ppcDatabase, ports
  PpcRun ppcRun;                    // needs: ppcAttachments, sendLoop, flags
};

}  // namespace fieldpost
