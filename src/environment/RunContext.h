// What every step of a run works with.
#pragma once

#include "environment/InstallPaths.h"
#include "environment/MailSettings.h"
#include "environment/ModWriteLogFile.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// References that every step of a run is handed together; all of them outlive the steps.
struct RunContext {
  FileSystem& files;
  const Clock& clock;
  const InstallPaths& paths;
  const MailSettings& settings;
  ModWriteLogFile& log;
};

}  // namespace fieldpost
