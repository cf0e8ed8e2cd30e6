// The PPC half of an unattended run.
#pragma once

#include "common/RunFlags.h"
#include "common/StatusDisplay.h"
#include "outbox/SendLoop.h"
#include "ppc/PPCAttachments.h"

namespace fieldpost {

/// Collects the PPC data and mails them.
class PpcRun {
 public:
  /// Everything that the arguments refer to must outlive the object.
  PpcRun(PPCAttachments& collection, SendLoop& sendLoop, const RunFlags& flags);

  /// Collects the PPC data and, with the flag `SendAfterCollect`, sends the documents. Returns false when
  /// something failed; that there are no data is not a failure. The documents of a failed mail stay in the
  /// PPCTemp folder.
  [[nodiscard]] bool ProcessPpcData(StatusDisplay& display);

 private:
  PPCAttachments& collection_;
  SendLoop& sendLoop_;
  const RunFlags& flags_;
};

}  // namespace fieldpost
