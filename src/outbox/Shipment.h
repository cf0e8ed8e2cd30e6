// What one send mails, as a value that goes from step to step.
#pragma once

#include <string_view>
#include <vector>

#include "common/RunFlags.h"
#include "common/RunLists.h"

namespace fieldpost {

/// The kind of data of a shipment. It decides the recipient, the names of zip files, and what becomes of the
/// documents once they are mailed.
enum class DataKind { Faultlog, Ppc };

/// The documents of one send and the files that its mails carry. A shipment is collected, packed, sent and
/// finished.
struct Shipment {
  DataKind kind = DataKind::Faultlog;
  std::vector<PendingFile> documents;  ///< what is mailed
  PathList attachments;                ///< the files that the mails carry: the documents, or their zip
  PathList packed;                     ///< the files that went into the zip
};

/// Returns a shipment of these documents, not packed. Its kind is that of the flag `SendingPPC`.
[[nodiscard]] Shipment NewShipment(const RunFlags& flags, std::vector<PendingFile> documents);

/// Returns the prefix of the file names of a kind of data, such as "FLog.".
[[nodiscard]] std::string_view PrefixOf(DataKind kind);

}  // namespace fieldpost
