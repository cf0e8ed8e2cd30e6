#include "environment/InstallPaths.h"

#include <utility>

#include "common/PathText.h"
#include "environment/RegistryKeys.h"

namespace fieldpost {

InstallPaths::InstallPaths(const FileSystem& files, EditWinReg& registry, std::filesystem::path ownFolder)
    : files_(files), registry_(registry), ownFolder_(std::move(ownFolder)) {}

std::string InstallPaths::RegisteredPath() const {
  return registry_.QueryText(HKEY_LOCAL_MACHINE, SuiteInstallPathKey, "");
}

std::filesystem::path InstallPaths::GetInstallPath() const {
  std::string text = RegisteredPath();
  if (text.empty()) return ownFolder_;
  if (text.size() > 1 && text.back() == PathSeparator) text.pop_back();
  const std::filesystem::path path = PathFromUtf8(text);
  return files_.Exists(path) ? path : ownFolder_;
}

std::filesystem::path InstallPaths::FaultlogFolder(std::string_view name) const {
  return GetInstallPath() / "Faultlog" / PathFromUtf8(name);
}

}  // namespace fieldpost
