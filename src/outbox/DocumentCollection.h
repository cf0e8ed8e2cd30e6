// Collects the documents that wait to be mailed.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "common/RunLists.h"
#include "common/StatusDisplay.h"
#include "outbox/WaitingDocument.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Where documents are looked for.
struct CollectionSource {
  std::filesystem::path folder;          ///< its "*.xml" files are documents; skipped when it is missing
  std::span<const PendingFile> pending;  ///< documents that this run wrote, in this folder or elsewhere
  std::size_t lines = AllLines;          ///< how many lines of a document are searched for "Not Sent"
};

/// What came of a collection.
struct CollectedDocuments {
  std::vector<PendingFile> documents;  ///< in the order of their names, each with its hash
  std::vector<std::string>
      problems;            ///< one line for each document that is unreadable or too large to be mailed
  bool cancelled = false;  ///< the user cancelled; some documents may not have been checked
};

/// Collects each document of `source` that waits, once: those of the folder in the order of their names, then
/// the other pending ones. A pending document whose hash is known is not opened, because it was just written
/// as "Not Sent". A document is not collected when the folder's send journal lists it with this content.
/// Shows each document on `display`. Throws FileError when the folder or the journal is unreadable.
[[nodiscard]] CollectedDocuments CollectWaitingDocuments(FileSystem& files, const CollectionSource& source,
                                                         StatusDisplay& display);

}  // namespace fieldpost
