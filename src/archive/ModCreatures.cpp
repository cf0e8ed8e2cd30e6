#include "archive/ModCreatures.h"

#include <utility>

#include "archive/ProductCodes.h"
#include "common/PathText.h"

namespace fieldpost {
namespace fs = std::filesystem;

ModCreatures::ModCreatures(const FileSystem& files, const MailSettings& settings, ModWriteLogFile& log)
    : files_(files), settings_(settings), log_(log) {}

bool ModCreatures::ScanArchiveFolders(std::int16_t mode, std::vector<std::string>& productCodes,
                                      PathList& paths) {
  const fs::path archive = PathFromUtf8(WithSeparator(settings_.ArchiveFolder));
  ProductCodeList codes = ListProductCodes(files_, archive);
  if (codes.state == ProductCodeList::State::Unreadable) log_.WriteLog(codes.problem, LogCategory::Error);
  if (codes.state != ProductCodeList::State::Listed) return false;
  try {
    if (mode == ArchiveScan::Files) paths = AllFiles(archive, codes.names);
  } catch (const FileError& error) {
    log_.WriteLog(error.what(), LogCategory::Error);
    return false;
  }
  if (mode == ArchiveScan::ProductCodes && codes.names.size() != productCodes.size()) {
    productCodes = std::move(codes.names);
  }
  return true;
}

PathList ModCreatures::AllFiles(const fs::path& archive, const std::vector<std::string>& productCodes) const {
  PathList paths;
  const std::unique_ptr<FolderHandle> folder = files_.OpenFolder(archive);
  for (const std::string& productCode : productCodes) {
    const fs::path path = archive / PathFromUtf8(productCode);
    for (const std::string& name : folder->OpenFolder(productCode)->ListFiles(".xml")) {
      paths.push_back(path / PathFromUtf8(name));
    }
  }
  return paths;
}

}  // namespace fieldpost
