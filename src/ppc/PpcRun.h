// The PPC half of an unattended run.
#pragma once

#include "common/RunFlags.h"
#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "outbox/SendLoop.h"
#include "ppc/PPCAttachments.h"

namespace fieldpost {

/// Collects the PPC data and mails them.
class PpcRun {
 public:
  PpcRun(PPCAttachments& collection, SendLoop& sendLoop, const RunFlags& flags, const RunLists& lists);

  /// Export, extraction, and sending what came of it when the run is to send; the caller has set the flag
  /// that says which kind of data this is. True when all was done; nothing to send is nothing wrong. The
  /// documents of a mail that failed stay in the PPCTemp folder.
  bool ProcessPpcData(StatusDisplay& display);

 private:
  PPCAttachments& collection_;
  SendLoop& sendLoop_;
  const RunFlags& flags_;
  const RunLists& lists_;
};

}  // namespace fieldpost
