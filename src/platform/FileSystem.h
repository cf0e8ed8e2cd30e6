// Files and folders. All access of the program to the disk goes through these interfaces.
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace fieldpost {

/// A file operation failed. `what()` is one line of UTF-8: the action, the path with its control characters
/// escaped, and the reason.
class FileError : public std::runtime_error {
 public:
  /// `action` is e.g. "cannot read"; `reason` is the system's or the program's own; `number` is the system's
  /// error number, 0 where the system reported none.
  FileError(std::string_view action, const std::filesystem::path& path, std::string_view reason,
            int number = 0);

  /// Returns the system's error number; 0 where the system reported none.
  [[nodiscard]] int Number() const { return number_; }

  /// Whether the file or folder does not exist.
  [[nodiscard]] bool IsMissing() const { return std::errc(number_) == std::errc::no_such_file_or_directory; }

 private:
  int number_;
};

/// A file is larger than the limit of its reader.
class FileTooLarge : public FileError {
 public:
  FileTooLarge(const std::filesystem::path& path, std::uint64_t maxBytes);
};

/// Who may read a file that the program creates.
enum class FileAccess {
  ByUmask,    ///< as the process's umask allows
  OwnerOnly,  ///< nobody but the owner, from the moment the file exists
};

/// Identifies a file and its state: two equal stamps mean the same file, unchanged.
struct FileStamp {
  std::uint64_t size = 0;                ///< bytes
  std::int64_t modifiedNanoseconds = 0;  ///< since 1970, UTC
  std::uint64_t device = 0;
  std::uint64_t file = 0;  ///< identifies the file on its device, whatever its name

  bool operator==(const FileStamp&) const = default;
};

/// The limit of a reader that accepts a file of any size.
inline constexpr std::uint64_t AnySize = std::numeric_limits<std::uint64_t>::max();

/// A file's content, and its stamp when it was read.
struct FileContent {
  std::string bytes;
  FileStamp stamp;
};

/// A file open for sequential reading.
class FileReader {
 public:
  FileReader() = default;
  FileReader(const FileReader&) = delete;
  FileReader& operator=(const FileReader&) = delete;
  virtual ~FileReader() = default;

  /// Reads up to `buffer.size()` bytes. Returns the number of bytes read, 0 at the end of the file. Throws
  /// FileError.
  virtual std::size_t Read(std::span<char> buffer) = 0;
};

/// An open folder. Names are looked up in this folder even when its path is renamed or replaced meanwhile. A
/// name is a plain filename, without a separator and neither "." nor ".."; any other throws FileError. Links
/// are never followed. Lists are sorted by the bytes of the names. Failures throw FileError unless an
/// operation says otherwise.
class FolderHandle {
 public:
  FolderHandle() = default;
  FolderHandle(const FolderHandle&) = delete;
  FolderHandle& operator=(const FolderHandle&) = delete;
  virtual ~FolderHandle() = default;

  /// Lists the regular files whose names end in `ending`, ignoring the case of ASCII letters.
  [[nodiscard]] virtual std::vector<std::string> ListFiles(std::string_view ending) const = 0;

  /// Lists the subfolders. A link to a folder is not one.
  [[nodiscard]] virtual std::vector<std::string> ListFolders() const = 0;

  /// Lists everything that is not a folder: files, links, pipes, devices.
  [[nodiscard]] virtual std::vector<std::string> ListAllButFolders() const = 0;

  /// Whether the folder has no entry at all.
  [[nodiscard]] virtual bool IsEmpty() const = 0;

  /// Whether the folder has an entry of that name. A dangling link counts.
  [[nodiscard]] virtual bool Exists(const std::string& name) const = 0;

  /// Returns the stamp of a regular file; empty when no regular file has the name.
  [[nodiscard]] virtual std::optional<FileStamp> RegularFileStamp(const std::string& name) const = 0;

  /// Opens a regular file for sequential reading. Anything else throws FileError.
  [[nodiscard]] virtual std::unique_ptr<FileReader> OpenRegularFile(const std::string& name) const = 0;

  /// Opens a subfolder.
  [[nodiscard]] virtual std::unique_ptr<FolderHandle> OpenFolder(const std::string& name) const = 0;

  /// Removes an entry that is not a folder; of a link, the link itself. Returns false when the name is
  /// missing.
  virtual bool Remove(const std::string& name) = 0;

  /// Removes an empty subfolder; one that is not empty throws FileError. Returns false when the name is
  /// missing.
  virtual bool RemoveEmptyFolder(const std::string& name) = 0;
};

/// A lock on a folder. It is released with the object, or when the process ends.
class FolderLock {
 public:
  FolderLock() = default;
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;
  virtual ~FolderLock() = default;
};

/// Operations on files and folders by path. Failures throw FileError unless an operation says otherwise.
class FileSystem {
 public:
  FileSystem() = default;
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;
  virtual ~FileSystem() = default;

  /// Whether `path` is a regular file. A link is not one. Never throws.
  [[nodiscard]] virtual bool IsFile(const std::filesystem::path& path) const = 0;

  /// Whether `path` is a folder, or a link to one. Never throws.
  [[nodiscard]] virtual bool IsFolder(const std::filesystem::path& path) const = 0;

  /// Whether anything has the name `path`. A dangling link counts. Never throws.
  [[nodiscard]] virtual bool Exists(const std::filesystem::path& path) const = 0;

  /// Returns the stamp of the file that `path` leads to; links are followed.
  [[nodiscard]] virtual FileStamp Stamp(const std::filesystem::path& path) const = 0;

  /// Returns the stamp of a regular file; empty when `path` is not a regular file. A link is not one.
  [[nodiscard]] virtual std::optional<FileStamp> RegularFileStamp(
      const std::filesystem::path& path) const = 0;

  /// Lists the names of the regular files in a folder that end in `ending`, ignoring the case of ASCII
  /// letters, sorted by their bytes. Links, pipes, devices and folders are ignored.
  [[nodiscard]] virtual std::vector<std::string> ListFiles(const std::filesystem::path& folder,
                                                           std::string_view ending) const = 0;

  /// Opens a folder. Links in `path` are followed.
  [[nodiscard]] virtual std::unique_ptr<FolderHandle> OpenFolder(const std::filesystem::path& path) const = 0;

  /// Returns the whole content of a regular file. A link throws FileError, and a file of more than `maxBytes`
  /// bytes throws FileTooLarge.
  [[nodiscard]] virtual std::string ReadWhole(const std::filesystem::path& path,
                                              std::uint64_t maxBytes) const = 0;

  /// Returns the whole content of a journal, as ReadWhole does. A file that belongs neither to the user of
  /// the process nor to the owner of its folder throws FileError, because another user could have written it.
  /// (Network drives report the folder's owner as the owner of each file.) Where the system has no owners,
  /// the owner is not checked.
  [[nodiscard]] virtual std::string ReadOwn(const std::filesystem::path& path,
                                            std::uint64_t maxBytes) const = 0;

  /// Returns the whole content and the stamp of a regular file that another program writes, as ReadWhole
  /// does. Empty while another process has the file open for writing, as far as the system can tell.
  [[nodiscard]] virtual std::optional<FileContent> ReadFinished(const std::filesystem::path& path,
                                                                std::uint64_t maxBytes) const = 0;

  /// Opens a regular file for sequential reading. A link throws FileError.
  [[nodiscard]] virtual std::unique_ptr<FileReader> OpenForReading(
      const std::filesystem::path& path) const = 0;

  /// Creates and writes a file. An existing file throws FileError and stays. On failure no partial file is
  /// left.
  virtual void WriteNew(const std::filesystem::path& path, std::string_view bytes, FileAccess access) = 0;

  /// Appends to a regular file, which is created by the umask when it is missing. A link throws FileError. On
  /// failure the file is cut back to its former size where the system allows it.
  virtual void Append(const std::filesystem::path& path, std::string_view bytes) = 0;

  /// Renames a file within one file system. A file that has the new name is replaced atomically.
  virtual void Rename(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

  /// Moves a file to an unused name, also to another file system.
  virtual void Move(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

  /// Removes a file or a link. A missing one is not an error.
  virtual void Remove(const std::filesystem::path& path) = 0;

  /// Creates one folder in an existing folder. An existing one is not an error.
  virtual void CreateFolder(const std::filesystem::path& path, FileAccess access) = 0;

  /// Returns when everything that was written below these folders, contents and names, is durable.
  virtual void Flush(std::span<const std::filesystem::path> folders) = 0;

  /// Whether the user of the process may remove files from this folder. Never throws.
  [[nodiscard]] virtual bool MayRemoveFrom(const std::filesystem::path& folder) const = 0;

  /// Revokes the rights of everybody but the owner on a regular file. Returns false when there were none, the
  /// file is missing, or the system has no such rights.
  virtual bool KeepToOwner(const std::filesystem::path& path);

  /// Locks a folder for this process. Empty when another process holds the lock. A folder that is missing or
  /// cannot be opened throws FileError.
  [[nodiscard]] virtual std::unique_ptr<FolderLock> TryLock(const std::filesystem::path& folder) = 0;

  /// Replaces or creates a file durably: writes a temporary file beside it, flushes, renames, flushes the
  /// folder. An existing file keeps its permissions unless `access` is OwnerOnly. On failure the old file is
  /// unchanged.
  void SaveAtomically(const std::filesystem::path& path, std::string_view bytes,
                      FileAccess access = FileAccess::ByUmask);

  /// Stages the new content of a file, under the name that TemporaryNameFor returns, for a later ReplaceAll
  /// of many files. The file itself does not change. An existing file's permissions are taken over unless
  /// `access` is OwnerOnly.
  void WriteReplacement(const std::filesystem::path& path, std::string_view bytes,
                        FileAccess access = FileAccess::ByUmask);

  /// Publishes what WriteReplacement staged for these files, with two flushes for all of them. On failure
  /// each file is either replaced whole or unchanged, and no temporary file is left.
  void ReplaceAll(std::span<const std::filesystem::path> paths);

  /// Creates a folder and the missing ones above it, one level at a time.
  void CreateFolders(const std::filesystem::path& path, FileAccess access = FileAccess::ByUmask);

 protected:
  /// Copies the permissions of `model` to `path`.
  virtual void CopyPermissions(const std::filesystem::path& model, const std::filesystem::path& path) = 0;

 private:
  void RemoveQuietly(const std::filesystem::path& temporary);
};

/// Returns the name under which the new content of a file is staged: in the same folder, hidden, and never
/// "*.xml" or "*.zip".
std::filesystem::path TemporaryNameFor(const std::filesystem::path& path);

/// Whether a filename is one that TemporaryNameFor returns, also with something added at its end.
bool IsTemporaryName(std::string_view fileName);

/// The machine's file systems.
class DiskFileSystem final : public FileSystem {
 public:
  DiskFileSystem();

  [[nodiscard]] bool IsFile(const std::filesystem::path& path) const override;
  [[nodiscard]] bool IsFolder(const std::filesystem::path& path) const override;
  [[nodiscard]] bool Exists(const std::filesystem::path& path) const override;
  [[nodiscard]] FileStamp Stamp(const std::filesystem::path& path) const override;
  [[nodiscard]] std::optional<FileStamp> RegularFileStamp(const std::filesystem::path& path) const override;
  [[nodiscard]] std::vector<std::string> ListFiles(const std::filesystem::path& folder,
                                                   std::string_view ending) const override;
  [[nodiscard]] std::unique_ptr<FolderHandle> OpenFolder(const std::filesystem::path& path) const override;
  [[nodiscard]] std::string ReadWhole(const std::filesystem::path& path,
                                      std::uint64_t maxBytes) const override;
  [[nodiscard]] std::string ReadOwn(const std::filesystem::path& path, std::uint64_t maxBytes) const override;
  [[nodiscard]] std::optional<FileContent> ReadFinished(const std::filesystem::path& path,
                                                        std::uint64_t maxBytes) const override;
  [[nodiscard]] std::unique_ptr<FileReader> OpenForReading(const std::filesystem::path& path) const override;
  void WriteNew(const std::filesystem::path& path, std::string_view bytes, FileAccess access) override;
  void Append(const std::filesystem::path& path, std::string_view bytes) override;
  void Rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
  void Move(const std::filesystem::path& from, const std::filesystem::path& to) override;
  void Remove(const std::filesystem::path& path) override;
  void CreateFolder(const std::filesystem::path& path, FileAccess access) override;
  void Flush(std::span<const std::filesystem::path> folders) override;
  [[nodiscard]] bool MayRemoveFrom(const std::filesystem::path& folder) const override;
  bool KeepToOwner(const std::filesystem::path& path) override;
  [[nodiscard]] std::unique_ptr<FolderLock> TryLock(const std::filesystem::path& folder) override;

 protected:
  void CopyPermissions(const std::filesystem::path& model, const std::filesystem::path& path) override;
};

}  // namespace fieldpost
