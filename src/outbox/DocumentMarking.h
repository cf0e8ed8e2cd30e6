// Marks documents as sent.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "platform/FileSystem.h"

namespace fieldpost {

/// Whether a file of a set is a document, which is marked once it was mailed: what is packed or gone is not.
bool IsDocument(const FileSystem& files, const std::filesystem::path& path);

/// What came of marking; each concerned document is as it was.
struct MarkingResult {
  std::vector<std::string> failures;    ///< one line each: what could not be read or written
  std::vector<std::string> unmarkable;  ///< one line each: documents that are no XML
};

/// Sets the root's `Mode` to "Sent" in each document, and tells `done` how many were worked through, before
/// each. What is missing or is no "*.xml" is passed over. So many are made durable by one flush that the
/// flushes hardly count.
MarkingResult MarkDocuments(FileSystem& files, std::span<const std::filesystem::path> documents,
                            const std::function<void(std::size_t)>& done);

}  // namespace fieldpost
