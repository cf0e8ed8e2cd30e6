// The services that every step of a run needs.
#pragma once

#include "environment/InstallPaths.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// References to the services that every step of a run needs. All of them must outlive the steps.
struct RunContext {
  FileSystem& files;
  const Clock& clock;
  const InstallPaths& paths;
  const MailSettings& settings;
  ModWriteLogFile& log;
};

}  // namespace fieldpost
