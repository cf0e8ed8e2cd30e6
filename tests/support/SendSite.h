// A site from which documents are sent.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "outbox/DocumentCollection.h"
#include "support/OutboxParts.h"

namespace fieldpost::test {

inline constexpr std::string_view Waiting =
    "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Not Sent\"><A/></FLFILE>\r\n";
inline constexpr std::string_view Sent = "<?xml version=\"1.0\"?>\r\n<FLFILE Mode=\"Sent\"><A/></FLFILE>\r\n";

struct SendSite : ReadyOutboxSite {
  /// Puts a document into the Process folder.
  std::filesystem::path Document(std::string_view name, std::string_view content = Waiting) const {
    return folder.Write("home/Faultlog/Process/" + std::string(name), content);
  }
  std::vector<std::filesystem::path> Documents(int count) const {
    std::vector<std::filesystem::path> result;
    for (int i = 1; i <= count; ++i)
      result.push_back(Document(fmt::format("FLog.4711.2004031514{:02}.xml", i)));
    return result;
  }
  /// A shipment of these documents, of the kind that the flags of the site say. The hashes are not known.
  [[nodiscard]] Shipment ShipmentOf(const PathList& documents) const {
    std::vector<PendingFile> pending;
    for (const std::filesystem::path& document : documents) pending.push_back({.path = document});
    return NewShipment(program.flags, std::move(pending));
  }
  [[nodiscard]] std::filesystem::path Journal() const { return Tree("Process") / "FLog.sent"; }
};

/// Whether a run on the site would collect the document.
template <class Site>
bool Waits(Site& site, const std::filesystem::path& document) {
  const CollectionSource source{.folder = document.parent_path() / "", .pending = {}};
  const CollectedDocuments collected =
      CollectWaitingDocuments(site.program.ports.files, source, site.program.ports.display);
  return std::any_of(collected.documents.begin(), collected.documents.end(),
                     [&](const PendingFile& one) { return one.path == document; });
}

}  // namespace fieldpost::test
