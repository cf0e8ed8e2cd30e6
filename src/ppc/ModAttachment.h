// Finds the PPC database and has it exported into one file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "common/StatusDisplay.h"
#include "environment/EditWinReg.h"
#include "environment/InstallPaths.h"
#include "platform/FileSystem.h"
#include "platform/PpcLibrary.h"

namespace fieldpost {

/// The export's name, in the program's own folder.
inline constexpr std::string_view PpcExportName = "PPCData.xml";

/// Knows where the PPC database lies, and calls the suite's library, or what stands in for it.
class ModAttachment {
 public:
  ModAttachment(FileSystem& files, const InstallPaths& paths, EditWinReg& registry, PpcLibrary& library);

  /// Works the search pattern out from the registry: from the database's own value, else from the suite's
  /// installation folder. Empty when there is neither.
  void FindPPCPath();

  /// Has the database exported to ExportFile(); an export that lay there is gone before. The pattern is
  /// looked for once a run; while none is known, nothing is touched. Whether there is an export is seen by
  /// the file. Throws PpcError or FileError when there should be one and cannot be.
  void ExportPPCData(StatusDisplay& display);

  [[nodiscard]] std::filesystem::path ExportFile() const;

  /// Empty until a location was found.
  [[nodiscard]] const std::string& SearchPattern() const { return searchPattern_; }

 private:
  FileSystem& files_;
  const InstallPaths& paths_;
  EditWinReg& registry_;
  PpcLibrary& library_;
  std::string searchPattern_;
  std::int16_t firstResult_ = 0;  // what the library says of its export
  std::int16_t secondResult_ = 0;
};

}  // namespace fieldpost
