#include "platform/JournalFile.h"

#include "common/Limits.h"

namespace fieldpost {

std::optional<std::string> ReadJournalFile(const FileSystem& files, const std::filesystem::path& path) {
  if (files.IsFolder(path)) throw FileError("cannot read", path, "not a regular file");
  if (!files.IsFile(path)) return std::nullopt;
  try {
    return files.ReadOwn(path, MaxJournalBytes);
  } catch (const FileTooLarge&) {
    return std::nullopt;
  }
}

}  // namespace fieldpost
