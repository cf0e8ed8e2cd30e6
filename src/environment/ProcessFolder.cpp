#include "environment/ProcessFolder.h"

#include "common/PathText.h"

namespace fieldpost {

std::filesystem::path ProcessFolder(const FileSystem& files, const InstallPaths& paths,
                                    const MailSettings& settings) {
  const std::filesystem::path configured = PathFromUtf8(WithSeparator(settings.ProcessFolder));
  if (files.IsFolder(configured)) return configured;
  return paths.OwnFolder() / "Faultlog" / "Process" / "";
}

}  // namespace fieldpost
