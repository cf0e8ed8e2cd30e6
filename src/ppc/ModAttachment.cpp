#include "ppc/ModAttachment.h"

#include "environment/RegistryKeys.h"
#include "ppc/PpcDatabaseExport.h"
#include "ppc/PpcError.h"
#include "ppc/PpcSearchPattern.h"

namespace fieldpost {

ModAttachment::ModAttachment(FileSystem& files, const InstallPaths& paths, EditWinReg& registry,
                             PpcLibrary& library)
    : files_(files), paths_(paths), registry_(registry), library_(library) {}

void ModAttachment::FindPPCPath() {
  const std::string database = registry_.QueryText(HKEY_LOCAL_MACHINE, PpcDatabaseKey, PpcFileNameValue);
  searchPattern_ = PatternOfDatabase(database);
  if (!database.empty()) return;
  searchPattern_ = PatternOfInstallation(paths_.RegisteredPath());
}

void ModAttachment::ExportPPCData(StatusDisplay& display) {
  firstResult_ = 0;
  secondResult_ = 0;
  if (searchPattern_.empty()) FindPPCPath();
  if (searchPattern_.empty()) return;
  // An export of yesterday must never be mailed as today's.
  files_.Remove(ExportFile());
  switch (library_.Load()) {
    case PpcLibrary::State::Ready:
      library_.PPCDBArchive(ExportFile(), searchPattern_, firstResult_, secondResult_);
      break;
    case PpcLibrary::State::Missing:
      static_cast<void>(ExportPpcDatabase(files_, searchPattern_, ExportFile(), display));
      break;
    case PpcLibrary::State::Unusable:
      throw PpcError(library_.Problem());
  }
}

std::filesystem::path ModAttachment::ExportFile() const {
  return paths_.OwnFolder() / PpcExportName;
}

}  // namespace fieldpost
