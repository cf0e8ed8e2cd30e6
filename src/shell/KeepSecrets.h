// The files that hold secrets, kept to their owner.
#pragma once

#include "shell/FieldpostProgram.h"

namespace fieldpost {

/// Takes from everybody else what rights they have on the settings and the registry's file, and tells so in
/// the log. Those files are made for their owner alone; somebody may have changed that since.
void KeepSecrets(const Ports& ports, const MailSettingsStore& settings, ModWriteLogFile& log);

}  // namespace fieldpost
