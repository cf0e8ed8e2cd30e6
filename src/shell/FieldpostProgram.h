// The program's state and parts, in one place.
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
#include "faultlog/LatestScan.h"
#include "options/OptionsStore.h"
#include "outbox/AttachmentPackaging.h"
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

/// What the program is given of the world; all of it outlives the program's parts.
struct Ports {
  FileSystem& files;
  const Clock& clock;
  KeyStore& keys;
  MailTransport& transport;
  UserPrompt& prompt;
  StatusDisplay& display;
};

/// Owns and wires the parts, and does nothing else. Only the drivers of a run see it whole; each part is
/// handed just what it uses.
class FieldpostProgram {
 public:
  /// `ownFolder` must exist. Loads the settings.
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
  MailSettingsCheck check;          // needs: settings, settingsStore, flags, registry, log
  AttachmentPackaging packaging;    // needs: paths, settings, flags, lists, log
  SendLoop sendLoop;                // needs: settings, flags, lists, log, check, packaging
  LatestScan scan;                  // needs: nearly all of them
  PpcLibrary ppcLibrary;            // needs: nothing
  ModAttachment ppcDatabase;        // needs: paths, registry, ppcLibrary
  PPCAttachments ppcAttachments;    // needs: paths, settings, lists, ppcDatabase, log
  PpcRun ppcRun;                    // needs: ppcAttachments, sendLoop, flags, lists
};

}  // namespace fieldpost
