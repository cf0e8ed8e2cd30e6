// The folder of the program's own files.
#pragma once

#include <filesystem>

#include "platform/FileSystem.h"

namespace fieldpost {

/// Returns the program's own folder as an absolute path without a separator at its end; the folder need not
/// exist. Outside Windows: the variable FIELDPOST_HOME; otherwise "fieldpost" below XDG_DATA_HOME, or below
/// ".local/share" in the user's home folder. A relative XDG_DATA_HOME is ignored, as the XDG Base
/// Directory rules demand. Empty when no home folder is known.
std::filesystem::path OwnFolder();

/// Returns the file of the key store that replaces the registry: the variable FIELDPOST_REGISTRY; otherwise
/// "registry.sqlite" in the program's own folder. Empty when that folder is not known.
std::filesystem::path RegistryFile();

/// Creates the program's own folder where it is missing, accessible to its owner only. Throws FileError.
void MakeOwnFolder(FileSystem& files, const std::filesystem::path& ownFolder);

}  // namespace fieldpost
