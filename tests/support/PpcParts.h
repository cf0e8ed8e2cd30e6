// The parts of the program that collect PPC data, with those below them.
#pragma once

#include "platform/PpcLibrary.h"
#include "ppc/ModAttachment.h"
#include "ppc/PPCAttachments.h"
#include "ppc/PpcRun.h"
#include "support/OutboxParts.h"

namespace fieldpost::test {

/// Wired as FieldpostProgram wires them, under the same names.
struct PpcParts : OutboxParts {
  using OutboxParts::OutboxParts;

  PpcLibrary ppcLibrary;
  ModAttachment ppcDatabase{ports.files, paths, registry, ppcLibrary};
  PPCAttachments ppcAttachments{run, ppcDatabase, ports.prompt};
  PpcRun ppcRun{ppcAttachments, sendLoop, flags};
};

using ReadyPpcSite = AfterFirstStart<BasicSite<PpcParts>>;

}  // namespace fieldpost::test
