// Whether a document waits to be mailed.
#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>

#include "platform/FileSystem.h"

namespace fieldpost {

/// Whether a document's text says within its first `lines` that it was not sent, unless its root says that it
/// was. Reads no more of it than that takes, and keeps none of it in memory. Throws FileError.
bool IsWaitingDocument(const FileSystem& files, const std::filesystem::path& document,
                       std::size_t lines = std::numeric_limits<std::size_t>::max());

}  // namespace fieldpost
