// The parts of the program that send, with those below them.
#pragma once

#include "outbox/AttachmentPackaging.h"
#include "outbox/MailSettingsCheck.h"
#include "outbox/SendLoop.h"
#include "support/EnvironmentParts.h"
#include "support/Site.h"

namespace fieldpost::test {

/// Wired as FieldpostProgram wires them, under the same names.
struct OutboxParts : EnvironmentParts {
  using EnvironmentParts::EnvironmentParts;

  MailSettingsCheck check{settings, settingsStore, flags, registry, log, ports.prompt, ports.display};
  AttachmentPackaging packaging{ports.files, ports.clock, paths, settings, flags, lists, log, ports.display};
  SendLoop sendLoop{ports.files, ports.clock, settings,        flags,        lists,        log,
                    check,       packaging,   ports.transport, ports.prompt, ports.display};
};

using OutboxSite = BasicSite<OutboxParts>;
using ReadyOutboxSite = AfterFirstStart<OutboxSite>;

}  // namespace fieldpost::test
