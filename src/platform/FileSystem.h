// Files and folders: the one seam between the program and the disk.
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
#include <vector>

namespace fieldpost {

/// A file operation failed. `what()` is one plain line: what was tried, the path, the system's reason.
class FileError : public std::runtime_error {
 public:
  FileError(std::string_view action, const std::filesystem::path& path, std::string_view reason,
            int number = 0);

  /// The system's number of the error; 0 where the system had no part in it.
  [[nodiscard]] int Number() const { return number_; }

 private:
  int number_;
};

/// A file is larger than the program is willing to read.
class FileTooLarge : public FileError {
 public:
  FileTooLarge(const std::filesystem::path& path, std::uint64_t maxBytes);
};

/// Who may read a file that the program creates.
enum class FileAccess {
  ByUmask,    ///< as the system's settings for the user say
  OwnerOnly,  ///< nobody but the owner, from the moment the file exists
};

/// What tells one state of a file from another.
struct FileStamp {
  std::uint64_t size = 0;                ///< bytes
  std::int64_t modifiedNanoseconds = 0;  ///< since 1970, UTC
  std::uint64_t device = 0;
  std::uint64_t file = 0;  ///< with `device`, which file it is, by whatever name

  bool operator==(const FileStamp&) const = default;
};

/// As a limit of reading: however large the file is.
inline constexpr std::uint64_t AnySize = std::numeric_limits<std::uint64_t>::max();

/// A file's content, and the state that it was read in.
struct FileContent {
  std::string bytes;
  FileStamp stamp;
};

/// A file open for reading from front to back.
class FileReader {
 public:
  FileReader() = default;
  FileReader(const FileReader&) = delete;
  FileReader& operator=(const FileReader&) = delete;
  virtual ~FileReader() = default;

  /// Reads up to `buffer.size()` bytes. Returns how many; 0 at the end. Throws FileError.
  virtual std::size_t Read(std::span<char> buffer) = 0;
};

/// A folder held open: names are looked up in this very folder, whatever becomes of its path meanwhile. A
/// name is one plain name, without a separator and neither "." nor ".."; any other is refused. No link is
/// ever followed. Lists are in the order of the names' bytes. What can fail throws FileError.
class FolderHandle {
 public:
  FolderHandle() = default;
  FolderHandle(const FolderHandle&) = delete;
  FolderHandle& operator=(const FolderHandle&) = delete;
  virtual ~FolderHandle() = default;

  /// As FileSystem::ListFiles.
  [[nodiscard]] virtual std::vector<std::string> ListFiles(std::string_view ending) const = 0;

  /// The folders in it; a link to a folder is none.
  [[nodiscard]] virtual std::vector<std::string> ListFolders() const = 0;

  /// Whatever is in it and no folder: files, links, pipes, devices.
  [[nodiscard]] virtual std::vector<std::string> ListAllButFolders() const = 0;

  /// Nothing at all is in it.
  [[nodiscard]] virtual bool IsEmpty() const = 0;

  /// Anything of that name is in it, a dangling link too.
  [[nodiscard]] virtual bool Exists(const std::string& name) const = 0;

  /// The stamp of a plain file; empty when there is none of that name.
  [[nodiscard]] virtual std::optional<FileStamp> RegularFileStamp(const std::string& name) const = 0;

  /// Opens a plain file for reading from front to back; anything else is refused.
  [[nodiscard]] virtual std::unique_ptr<FileReader> OpenRegularFile(const std::string& name) const = 0;

  /// Opens a folder in it.
  [[nodiscard]] virtual std::unique_ptr<FolderHandle> OpenFolder(const std::string& name) const = 0;

  /// Removes what is no folder; of a link, the link itself. False when there was nothing of that name.
  virtual bool Remove(const std::string& name) = 0;

  /// Removes a folder that is empty; another is refused. False when there was nothing of that name.
  virtual bool RemoveEmptyFolder(const std::string& name) = 0;
};

/// Held while a folder is this program's alone; ends with the object, or with the process.
class FolderLock {
 public:
  FolderLock() = default;
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;
  virtual ~FolderLock() = default;
};

/// Every operation that can fail throws FileError, unless it says otherwise.
class FileSystem {
 public:
  FileSystem() = default;
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;
  virtual ~FileSystem() = default;

  /// A plain file of that name is there (a link is none). Never throws.
  [[nodiscard]] virtual bool IsFile(const std::filesystem::path& path) const = 0;

  /// A folder, or a link to one, of that name is there. Never throws.
  [[nodiscard]] virtual bool IsFolder(const std::filesystem::path& path) const = 0;

  /// Anything of that name is there, a dangling link too. Never throws.
  [[nodiscard]] virtual bool Exists(const std::filesystem::path& path) const = 0;

  /// The stamp of the file behind `path` (links followed).
  [[nodiscard]] virtual FileStamp Stamp(const std::filesystem::path& path) const = 0;

  /// The stamp of a plain file (a link is none); empty when there is no plain file of that name.
  [[nodiscard]] virtual std::optional<FileStamp> RegularFileStamp(
      const std::filesystem::path& path) const = 0;

  /// Names of the plain files in a folder that end in `ending`, compared without regard to the case of ASCII
  /// letters, in the order of their bytes. Links, pipes, devices and folders are left out.
  [[nodiscard]] virtual std::vector<std::string> ListFiles(const std::filesystem::path& folder,
                                                           std::string_view ending) const = 0;

  /// Opens a folder (links followed on the way to it, but never in it).
  [[nodiscard]] virtual std::unique_ptr<FolderHandle> OpenFolder(const std::filesystem::path& path) const = 0;

  /// The whole content of a plain file; a link is refused. A file of more than `maxBytes` bytes is refused
  /// with FileTooLarge.
  [[nodiscard]] virtual std::string ReadWhole(const std::filesystem::path& path,
                                              std::uint64_t maxBytes) const = 0;

  /// The same for a file whose content tells the program what to do. Nobody else may have written it: one
  /// that belongs neither to the user who runs the program nor to the owner of its folder is refused.
  /// (Network drives show every file as its folder's owner's.) Where the system knows no owners, as
  /// ReadWhole.
  [[nodiscard]] virtual std::string ReadOwn(const std::filesystem::path& path,
                                            std::uint64_t maxBytes) const = 0;

  /// As ReadWhole, for a file that somebody else writes. Empty while another process has it open for writing;
  /// where the system cannot tell, nobody has.
  [[nodiscard]] virtual std::optional<FileContent> ReadFinished(const std::filesystem::path& path,
                                                                std::uint64_t maxBytes) const = 0;

  /// Opens a plain file for reading from front to back; a link is refused.
  [[nodiscard]] virtual std::unique_ptr<FileReader> OpenForReading(
      const std::filesystem::path& path) const = 0;

  /// Creates a file that must not be there yet and writes it. What was begun is removed when it fails.
  virtual void WriteNew(const std::filesystem::path& path, std::string_view bytes, FileAccess access) = 0;

  /// Writes at the end of a plain file, creating it (by the umask) when it is missing; a link is refused. On
  /// failure nothing is added, unless even that cannot be had.
  virtual void Append(const std::filesystem::path& path, std::string_view bytes) = 0;

  /// Gives a file a new name on the same file system; what bore that name is replaced in one step.
  virtual void Rename(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

  /// Moves a file to a name that is free, across file systems too.
  virtual void Move(const std::filesystem::path& from, const std::filesystem::path& to) = 0;

  /// Removes a file or a link; one that is missing already is no error.
  virtual void Remove(const std::filesystem::path& path) = 0;

  /// Creates one folder whose parent is there; one that is there already is no error.
  virtual void CreateFolder(const std::filesystem::path& path, FileAccess access) = 0;

  /// Returns once everything written below these folders, contents and names, would survive a power cut.
  virtual void Flush(std::span<const std::filesystem::path> folders) = 0;

  /// Files of this folder can be removed by this user. Never throws.
  [[nodiscard]] virtual bool MayRemoveFrom(const std::filesystem::path& folder) const = 0;

  /// Takes from everybody but its owner what rights they have on a plain file. False when they had none, the
  /// file is missing, or the system knows no such rights.
  virtual bool KeepToOwner(const std::filesystem::path& path);

  /// Takes a folder for this process alone. Empty when another process has it. A folder that does not exist
  /// or cannot be opened throws.
  [[nodiscard]] virtual std::unique_ptr<FolderLock> TryLock(const std::filesystem::path& folder) = 0;

  /// Replaces a file whole, or creates it: temporary file beside it, flush, rename, flush of the folder.
  /// A file that is there keeps its permissions, unless `access` asks for the owner alone.
  /// On failure the old file is as it was.
  void SaveAtomically(const std::filesystem::path& path, std::string_view bytes,
                      FileAccess access = FileAccess::ByUmask);

  /// The first half of SaveAtomically, for files of which many are replaced together: writes what is to take
  /// the place of `path` beside it. The file itself stays as it is until ReplaceAll.
  void WriteReplacement(const std::filesystem::path& path, std::string_view bytes,
                        FileAccess access = FileAccess::ByUmask);

  /// The second half: gives what WriteReplacement wrote the names of these files, with two flushes for all.
  /// On failure each file is either replaced whole or as it was, and no temporary file is left.
  void ReplaceAll(std::span<const std::filesystem::path> paths);

  /// Creates a folder and those above it that are missing, one level at a time.
  void CreateFolders(const std::filesystem::path& path, FileAccess access = FileAccess::ByUmask);

 protected:
  /// Gives `path` the permissions that `model` has.
  virtual void CopyPermissions(const std::filesystem::path& model, const std::filesystem::path& path) = 0;

 private:
  void RemoveQuietly(const std::filesystem::path& temporary);
};

/// The name under which a file is written before it is given its own: beside it, and never "*.xml" or
/// "*.zip".
std::filesystem::path TemporaryNameFor(const std::filesystem::path& path);

/// Whether a file name is one of those that TemporaryNameFor makes, or one with something added at its end.
bool IsTemporaryName(std::string_view fileName);

/// The machine's own disks.
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
