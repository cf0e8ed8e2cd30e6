// The list of a mail's files in its body.
#pragma once

#include <string>

#include "common/RunLists.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The names and sizes of a mail's attachments as an INI-like text of two sections, lines separated by CR LF.
/// Empty for an empty list. Throws FileError when a file is missing, and std::overflow_error when their total
/// is beyond a signed 32-bit number.
std::string BuildMailSummary(const FileSystem& files, const PathList& attachments, bool sendingPpc);

}  // namespace fieldpost
