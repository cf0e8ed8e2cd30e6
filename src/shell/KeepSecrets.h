// Keeps the files that hold secrets readable by their owner only.
#pragma once

#include <string>
#include <vector>

#include "shell/FieldpostProgram.h"

namespace fieldpost {

/// Removes other users' access to the settings and to the registry's file. The program creates these files
/// for their owner only; somebody may have changed that. Returns one log line for each file that other users
/// could access, or whose permissions cannot be set. The caller logs them, because the log may not
/// have its folder yet.
[[nodiscard]] std::vector<std::string> KeepSecrets(const Ports& ports, const MailSettingsStore& settings);

}  // namespace fieldpost
