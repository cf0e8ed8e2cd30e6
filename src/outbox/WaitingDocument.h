// Whether a document waits to be mailed.
#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>
#include <optional>

#include "common/ContentHash.h"
#include "common/StatusDisplay.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Passed as `lines`: search the whole document.
inline constexpr std::size_t AllLines = std::numeric_limits<std::size_t>::max();

/// Whether one of the first `lines` lines of a document contains "Not Sent" in any letter case. A document
/// whose root element has the `Mode` "Sent" does not wait, whatever else it contains. Reads no more of the
/// document than needed, in pieces. Throws FileError when it is unreadable.
[[nodiscard]] bool IsWaitingDocument(const FileSystem& files, const std::filesystem::path& document,
                                     std::size_t lines = AllLines);

/// Returns the hash of the whole document when IsWaitingDocument is true for it, and nothing otherwise. Opens
/// the document once. Processes events on `display` while it reads. Throws FileError when the document is
/// unreadable, and FileTooLarge when it waits and is larger than MaxDocumentBytes.
[[nodiscard]] std::optional<ContentHash> HashIfWaiting(const FileSystem& files,
                                                       const std::filesystem::path& document,
                                                       std::size_t lines, StatusDisplay& display);

}  // namespace fieldpost
