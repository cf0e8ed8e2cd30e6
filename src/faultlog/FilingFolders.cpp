#include "faultlog/FilingFolders.h"

#include "common/PathText.h"
#include "environment/ProcessFolder.h"

namespace fieldpost {

FilingFolders FilingFoldersOf(const RunContext& run) {
  return {.archive = PathFromUtf8(WithSeparator(run.settings.ArchiveFolder)),
          .process = ProcessFolder(run.files, run.paths, run.settings)};
}

void CreateProductFolder(FileSystem& files, const std::filesystem::path& archivedFile) {
  const std::filesystem::path folder = archivedFile.parent_path();
  if (!files.IsFolder(folder)) files.CreateFolder(folder, FileAccess::ByUmask);
}

}  // namespace fieldpost
