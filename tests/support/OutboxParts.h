// The parts of the program that send, with those below them.
#pragma once

#include "common/Screen.h"
#include "outbox/AttachmentPackaging.h"
#include "outbox/MailSettingsCheck.h"
#include "outbox/SendLoop.h"
#include "support/EnvironmentParts.h"
#include "support/Site.h"

namespace fieldpost::test {

/// Wired as FieldpostProgram wires them, under the same names.
struct OutboxParts : EnvironmentParts {
  using EnvironmentParts::EnvironmentParts;

  Screen screen{ports.prompt, ports.display, flags};
  MailSettingsCheck check{settings, settingsStore, registry, log, screen};
  AttachmentPackaging packaging{run, ports.display};
  SendLoop sendLoop{run, screen, lists, check, ports.transport};
};

using OutboxSite = BasicSite<OutboxParts>;
using ReadyOutboxSite = AfterFirstStart<OutboxSite>;

}  // namespace fieldpost::test
