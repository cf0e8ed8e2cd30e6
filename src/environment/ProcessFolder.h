// The folder of combined documents.
#pragma once

#include <filesystem>

#include "environment/InstallPaths.h"
#include "environment/MailSettings.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// The folder where combined documents are written, and from which they are mailed: the `ProcessFolder`
/// setting, or the program folder's own Faultlog/Process when that folder is missing. Ends in the separator.
[[nodiscard]] std::filesystem::path ProcessFolder(const FileSystem& files, const InstallPaths& paths,
                                                  const MailSettings& settings);

}  // namespace fieldpost
