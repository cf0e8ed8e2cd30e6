// Where the program keeps what is its own.
#pragma once

#include <filesystem>

#include "platform/FileSystem.h"

namespace fieldpost {

/// The program's own folder, as a full path without a separator at its end. It need not exist. Outside
/// Windows: the variable FIELDPOST_HOME; else "fieldpost" below XDG_DATA_HOME, or below ".local/share" in the
/// user's home folder (XDG base directories: a relative XDG_DATA_HOME does not count). Empty when
/// not even a home folder is known.
std::filesystem::path OwnFolder();

/// The file of the key store that stands in for the registry: the variable FIELDPOST_REGISTRY; else
/// "registry.sqlite" in the program's own folder. Empty when that folder is not known.
std::filesystem::path RegistryFile();

/// Makes the program's own folder where it is missing, readable by its owner alone. Throws FileError.
void MakeOwnFolder(FileSystem& files, const std::filesystem::path& ownFolder);

}  // namespace fieldpost
