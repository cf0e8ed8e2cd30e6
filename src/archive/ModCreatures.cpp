#include "archive/ModCreatures.h"

#include <utility>

#include "common/PathText.h"

namespace fieldpost {
namespace fs = std::filesystem;

ModCreatures::ModCreatures(const FileSystem& files, const MailSettings& settings, ModWriteLogFile& log)
    : files_(files), settings_(settings), log_(log) {}

bool ModCreatures::ScanArchiveFolders(std::int16_t mode, std::vector<std::string>& productCodes,
                                      PathList& paths) {
  const fs::path archive = PathFromUtf8(WithSeparator(settings_.ArchiveFolder));
  if (archive.empty() || !files_.IsFolder(archive)) return false;
  try {
    if (mode == ArchiveScan::Files) paths = AllFiles(archive);
    if (mode != ArchiveScan::ProductCodes) return true;
    std::vector<std::string> folders = files_.OpenFolder(archive)->ListFolders();
    if (folders.size() != productCodes.size()) productCodes = std::move(folders);
    return true;
  } catch (const FileError& error) {
    log_.WriteLog(error.what(), LogCategory::Error);
    return false;
  }
}

PathList ModCreatures::AllFiles(const fs::path& archive) const {
  PathList paths;
  const std::unique_ptr<FolderHandle> folder = files_.OpenFolder(archive);
  for (const std::string& productCode : folder->ListFolders()) {
    const fs::path path = archive / PathFromUtf8(productCode);
    for (const std::string& name : folder->OpenFolder(productCode)->ListFiles(".xml")) {
      paths.push_back(path / PathFromUtf8(name));
    }
  }
  return paths;
}

}  // namespace fieldpost
