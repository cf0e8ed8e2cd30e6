#include "outbox/Shipment.h"

#include <utility>

#include "common/DocumentNames.h"

namespace fieldpost {

Shipment NewShipment(const RunFlags& flags, std::vector<PendingFile> documents) {
  Shipment shipment{.kind = flags.SendingPPC ? DataKind::Ppc : DataKind::Faultlog,
                    .documents = std::move(documents),
                    .attachments = {},
                    .packed = {}};
  for (const PendingFile& document : shipment.documents) shipment.attachments.push_back(document.path);
  return shipment;
}

std::string_view PrefixOf(DataKind kind) {
  return kind == DataKind::Ppc ? PpcPrefix : FaultlogPrefix;
}

}  // namespace fieldpost
