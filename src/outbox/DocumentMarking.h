// Marks documents as sent.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "common/RunLists.h"
#include "outbox/SendJournal.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Whether a path names a document that can be marked: a regular file whose name ends in ".xml".
[[nodiscard]] bool IsDocument(const FileSystem& files, const std::filesystem::path& path);

/// What came of marking. Every document named here was left as it was.
struct MarkingResult {
  std::size_t marked = 0;               ///< number of documents marked
  std::vector<std::string> failures;    ///< one line for each file error
  std::vector<std::string> unmarkable;  ///< one line for each document that is not well-formed XML
  PathList changed;                     ///< documents whose content is not the one that was mailed
};

/// Sets the attribute `Mode` of the root element to "Sent" in each document whose content still has the given
/// hash. A document that is missing or is not an "*.xml" file is skipped. Calls `done` before each document
/// with the number of those already processed. Documents are replaced in groups, with two flushes for each
/// group.
[[nodiscard]] MarkingResult MarkDocuments(FileSystem& files, const SentDocuments& documents,
                                          const std::function<void(std::size_t)>& done);

}  // namespace fieldpost
