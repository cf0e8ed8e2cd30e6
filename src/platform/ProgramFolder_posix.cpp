#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>
#include <system_error>

#include "common/PathText.h"
#include "platform/ProgramFolder.h"

namespace fieldpost {
namespace fs = std::filesystem;
namespace {

/// Returns the path in an environment variable; empty when it is not set.
fs::path PathVariable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? fs::path() : PathFromUtf8(value);
}

/// Returns the absolute path without a separator at its end.
fs::path Full(const fs::path& path) {
  std::error_code ignored;
  const fs::path full = fs::absolute(path, ignored).lexically_normal();
  return full.has_filename() || !full.has_relative_path() ? full : full.parent_path();
}

/// Returns the user's home folder, from the user database when HOME is not set, as for a service.
fs::path HomeFolder() {
  if (const fs::path home = PathVariable("HOME"); !home.empty()) return home;
  const passwd* user = ::getpwuid(::geteuid());
  return user == nullptr || user->pw_dir == nullptr ? fs::path() : PathFromUtf8(user->pw_dir);
}

fs::path DataFolder() {
  if (const fs::path data = PathVariable("XDG_DATA_HOME"); data.is_absolute()) return data;
  const fs::path home = HomeFolder();
  return home.empty() ? fs::path() : home / ".local" / "share";
}

}  // namespace

fs::path OwnFolder() {
  if (const fs::path own = PathVariable("FIELDPOST_HOME"); !own.empty()) return Full(own);
  const fs::path data = DataFolder();
  return data.empty() ? fs::path() : Full(data / "fieldpost");
}

fs::path RegistryFile() {
  if (const fs::path file = PathVariable("FIELDPOST_REGISTRY"); !file.empty()) return Full(file);
  const fs::path own = OwnFolder();
  return own.empty() ? fs::path() : own / "registry.sqlite";
}

void MakeOwnFolder(FileSystem& files, const fs::path& ownFolder) {
  files.CreateFolders(ownFolder, FileAccess::OwnerOnly);
}

}  // namespace fieldpost
