// The summary of its attachments in the body of a mail.
#pragma once

#include <string>

#include "common/RunLists.h"
#include "outbox/Shipment.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Returns the names and sizes of a mail's attachments as an INI-like text of two sections, with lines
/// separated by CR LF. Empty when there is no attachment. Throws FileError when a file is missing, and
/// std::overflow_error when the files together are larger than 2147483647 bytes.
[[nodiscard]] std::string BuildMailSummary(const FileSystem& files, const PathList& attachments,
                                           DataKind kind);

}  // namespace fieldpost
