#include "shell/ProvideHelpFile.h"

#include <optional>

namespace fieldpost {
namespace {

bool Holds(const FileSystem& files, const std::filesystem::path& file, std::string_view bytes) {
  const std::optional<FileStamp> stamp = files.RegularFileStamp(file);
  return stamp && stamp->size == bytes.size() && files.ReadWhole(file, bytes.size()) == bytes;
}

}  // namespace

std::filesystem::path HelpFile(const std::filesystem::path& ownFolder) {
  return ownFolder / "FPhelp.hlp";
}

std::string ProvideHelpFile(FileSystem& files, const std::filesystem::path& ownFolder,
                            std::string_view bytes) {
  try {
    const std::filesystem::path file = HelpFile(ownFolder);
    if (!Holds(files, file, bytes)) files.SaveAtomically(file, bytes);
  } catch (const FileError& error) {
    return error.what();
  }
  return {};
}

}  // namespace fieldpost
