#include "platform/FileSystem.h"

#include <set>

#include "common/Limits.h"
#include "common/PathText.h"
#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr std::string_view TemporaryEnding = ".fieldpost-new";

}  // namespace

FileError::FileError(std::string_view action, const std::filesystem::path& path, std::string_view reason,
                     int number)
    : std::runtime_error(std::string(action) + " " + EscapeControls(Utf8FromPath(path)) + ": " +
                         std::string(reason)),
      number_(number) {}

FileTooLarge::FileTooLarge(const std::filesystem::path& path, std::uint64_t maxBytes)
    : FileError("cannot read", path, "larger than " + std::to_string(maxBytes) + " bytes") {}

std::filesystem::path TemporaryNameFor(const std::filesystem::path& path) {
  std::string name = "." + Utf8FromPath(path.filename());
  name.resize(std::min(name.size(), MaxFilenameBytes - TemporaryEnding.size()));
  return path.parent_path() / PathFromUtf8(name.append(TemporaryEnding));
}

bool IsTemporaryName(std::string_view fileName) {
  // A library that stages what it writes adds to the name that it was given.
  return fileName.starts_with('.') && fileName.find(TemporaryEnding) != std::string_view::npos;
}

void FileSystem::SaveAtomically(const std::filesystem::path& path, std::string_view bytes,
                                FileAccess access) {
  WriteReplacement(path, bytes, access);
  ReplaceAll({&path, 1});
}

void FileSystem::WriteReplacement(const std::filesystem::path& path, std::string_view bytes,
                                  FileAccess access) {
  const std::filesystem::path temporary = TemporaryNameFor(path);
  Remove(temporary);
  WriteNew(temporary, bytes, access);
  try {
    if (access == FileAccess::ByUmask && IsFile(path)) CopyPermissions(path, temporary);
  } catch (const FileError&) {
    RemoveQuietly(temporary);
    throw;
  }
}

void FileSystem::ReplaceAll(std::span<const std::filesystem::path> paths) {
  std::set<std::filesystem::path> distinct;
  for (const std::filesystem::path& path : paths) distinct.insert(path.parent_path());
  const std::vector<std::filesystem::path> folders(distinct.begin(), distinct.end());
  try {
    Flush(folders);
    for (const std::filesystem::path& path : paths) Rename(TemporaryNameFor(path), path);
    Flush(folders);
  } catch (const FileError&) {
    for (const std::filesystem::path& path : paths) RemoveQuietly(TemporaryNameFor(path));
    throw;
  }
}

void FileSystem::RemoveQuietly(const std::filesystem::path& temporary) {
  try {
    Remove(temporary);
  } catch (const FileError&) {
    // The caller gets the error that made the temporary file useless.
  }
}

bool FileSystem::KeepToOwner(const std::filesystem::path&) {
  return false;
}

void FileSystem::CreateFolders(const std::filesystem::path& path, FileAccess access) {
  if (path.empty() || IsFolder(path)) return;
  const std::filesystem::path plain = path.has_filename() ? path : path.parent_path();
  CreateFolders(plain.parent_path(), access);
  CreateFolder(plain, access);
}

}  // namespace fieldpost
