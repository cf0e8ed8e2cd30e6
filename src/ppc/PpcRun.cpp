#include "ppc/PpcRun.h"

namespace fieldpost {

PpcRun::PpcRun(PPCAttachments& collection, SendLoop& sendLoop, const RunFlags& flags, const RunLists& lists)
    : collection_(collection), sendLoop_(sendLoop), flags_(flags), lists_(lists) {}

bool PpcRun::ProcessPpcData(StatusDisplay& display) {
  if (!collection_.MakePPCFilesQuiet(display)) return false;
  if (lists_.Attachments.empty() || !flags_.SendAfterCollect) return true;
  return sendLoop_.SendData();
}

}  // namespace fieldpost
