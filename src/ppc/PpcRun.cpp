#include "ppc/PpcRun.h"

#include <utility>

namespace fieldpost {

PpcRun::PpcRun(PPCAttachments& collection, SendLoop& sendLoop, const RunFlags& flags)
    : collection_(collection), sendLoop_(sendLoop), flags_(flags) {}

bool PpcRun::ProcessPpcData(StatusDisplay& display) {
  PpcCollection collected = collection_.MakePPCFilesQuiet(display);
  if (!collected.succeeded) return false;
  if (collected.documents.empty() || !flags_.SendAfterCollect) return true;
  return sendLoop_.SendData(NewShipment(flags_, std::move(collected.documents))).finished;
}

}  // namespace fieldpost
