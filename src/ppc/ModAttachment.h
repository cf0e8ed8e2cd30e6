// Finds the PPC database and exports it into one file.
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

/// Finds the PPC database and calls the suite's library, or its replacement when there is none.
class ModAttachment {
 public:
  /// Everything that the arguments refer to must outlive the object.
  ModAttachment(FileSystem& files, const InstallPaths& paths, EditWinReg& registry, PpcLibrary& library);

  /// Determines the search pattern from the registry: from the value of the PPC database, else from the
  /// suite's installation folder. The pattern is empty when both are missing.
  void FindPPCPath();

  /// Exports the database to ExportFile() and removes an older export first. Looks for the pattern until one
  /// is found; without a pattern it changes nothing. Whether something was exported is seen by the file.
  /// Throws PpcError or FileError when the export fails.
  void ExportPPCData(StatusDisplay& display);

  /// Returns the path of the export.
  [[nodiscard]] std::filesystem::path ExportFile() const;

  /// Returns the search pattern; empty until a location was found.
  [[nodiscard]] const std::string& SearchPattern() const { return searchPattern_; }

 private:
  FileSystem& files_;
  const InstallPaths& paths_;
  EditWinReg& registry_;
  PpcLibrary& library_;
  std::string searchPattern_;
  std::int16_t firstResult_ = 0;  // output values of the library
  std::int16_t secondResult_ = 0;
};

}  // namespace fieldpost
