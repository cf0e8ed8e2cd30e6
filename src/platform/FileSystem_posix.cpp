#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <set>
#include <utility>

#include "platform/Descriptor_posix.h"
#include "platform/FileSystem.h"

namespace fieldpost {
namespace fs = std::filesystem;
using posix::Descriptor;
using posix::Fail;
using posix::Open;
using posix::ReadSome;
using posix::StampOf;

namespace {

/// O_NONBLOCK keeps a pipe in the file's place from blocking the program.
Descriptor OpenRegularFile(const fs::path& path) {
  return Open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK, "cannot open");
}

struct stat StateOfRegularFile(const Descriptor& file, const fs::path& path, std::string_view action) {
  struct stat state {};
  if (::fstat(file.Number(), &state) != 0) Fail("cannot access", path);
  if (!S_ISREG(state.st_mode)) throw FileError(action, path, "not a regular file");
  return state;
}

uid_t OwnerOfFolder(const fs::path& folder) {
  struct stat state {};
  if (::stat(folder.c_str(), &state) != 0) Fail("cannot access", folder);
  return state.st_uid;
}

FileContent ReadRegularFile(const Descriptor& file, const fs::path& path, std::uint64_t maxBytes) {
  const struct stat state = StateOfRegularFile(file, path, "cannot read");
  if (static_cast<std::uint64_t>(state.st_size) > maxBytes) throw FileTooLarge(path, maxBytes);

  // One byte more than the size: the first read of a regular file that returns less than it was asked for is
  // the last.
  std::string content(static_cast<std::size_t>(state.st_size) + 1, '\0');
  std::size_t filled = 0;
  for (;;) {
    filled += ReadSome(file.Number(), std::span(content).subspan(filled), path);
    if (filled > maxBytes) throw FileTooLarge(path, maxBytes);
    if (filled < content.size()) break;
    content.resize(filled * 2);
  }
  content.resize(filled);
  return {.bytes = std::move(content), .stamp = StampOf(state)};
}

void WriteAll(int number, std::string_view bytes, const fs::path& path) {
  while (!bytes.empty()) {
    const ssize_t put = ::write(number, bytes.data(), bytes.size());
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) Fail("cannot write", path);
    bytes.remove_prefix(static_cast<std::size_t>(put));
  }
}

/// Cuts off the part that was written of `count` bytes appended at `size`. What another process appended
/// stays.
void RollBackAppend(int number, off_t size, std::size_t count) {
  struct stat now {};
  if (::fstat(number, &now) != 0 || now.st_size >= size + static_cast<off_t>(count)) return;
  // When even this fails, the partial line stays; the caller reports the failed write.
  if (now.st_size > size) static_cast<void>(::ftruncate(number, size) == 0);
}

/// `flock` on the folder itself: it leaves no lock file, and the system releases it with the process.
class DescriptorLock final : public FolderLock {
 public:
  explicit DescriptorLock(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

 private:
  Descriptor descriptor_;
};

}  // namespace

DiskFileSystem::DiskFileSystem() {
  // The system sends this signal when another process opens a file for writing while ReadFinished holds a
  // lease on it. By default it ends the program. The lease is released a moment later in any case.
  std::signal(SIGIO, SIG_IGN);
}

bool DiskFileSystem::IsFile(const fs::path& path) const {
  struct stat state {};
  return ::lstat(path.c_str(), &state) == 0 && S_ISREG(state.st_mode);
}

bool DiskFileSystem::IsFolder(const fs::path& path) const {
  struct stat state {};
  return ::stat(path.c_str(), &state) == 0 && S_ISDIR(state.st_mode);
}

bool DiskFileSystem::Exists(const fs::path& path) const {
  struct stat state {};
  return ::lstat(path.c_str(), &state) == 0;
}

FileStamp DiskFileSystem::Stamp(const fs::path& path) const {
  struct stat state {};
  if (::stat(path.c_str(), &state) != 0) Fail("cannot access", path);
  return StampOf(state);
}

std::optional<FileStamp> DiskFileSystem::RegularFileStamp(const fs::path& path) const {
  struct stat state {};
  if (::lstat(path.c_str(), &state) != 0 || !S_ISREG(state.st_mode)) return std::nullopt;
  return StampOf(state);
}

std::vector<std::string> DiskFileSystem::ListFiles(const fs::path& folder, std::string_view ending) const {
  return OpenFolder(folder)->ListFiles(ending);
}

std::unique_ptr<FolderHandle> DiskFileSystem::OpenFolder(const fs::path& path) const {
  return posix::HoldFolder(posix::Open(path, O_RDONLY | O_DIRECTORY, "cannot list"), path);
}

std::string DiskFileSystem::ReadWhole(const fs::path& path, std::uint64_t maxBytes) const {
  return ReadRegularFile(OpenRegularFile(path), path, maxBytes).bytes;
}

std::string DiskFileSystem::ReadOwn(const fs::path& path, std::uint64_t maxBytes) const {
  const Descriptor file = OpenRegularFile(path);
  const struct stat state = StateOfRegularFile(file, path, "cannot read");
  if (state.st_uid != ::geteuid() && state.st_uid != OwnerOfFolder(path.parent_path())) {
    throw FileError("cannot follow", path,
                    "it belongs to another user; start Fieldpost as that user, or remove it when it is not "
                    "Fieldpost's");
  }
  return ReadRegularFile(file, path, maxBytes).bytes;
}

std::optional<FileContent> DiskFileSystem::ReadFinished(const fs::path& path, std::uint64_t maxBytes) const {
  const Descriptor file = OpenRegularFile(path);
  // A read lease is refused with EAGAIN while any process has the file open for writing (fcntl(2)); any other
  // refusal says nothing about writers. Closing the file releases the lease.
  if (::fcntl(file.Number(), F_SETLEASE, F_RDLCK) != 0 && errno == EAGAIN) return std::nullopt;
  return ReadRegularFile(file, path, maxBytes);
}

std::unique_ptr<FileReader> DiskFileSystem::OpenForReading(const fs::path& path) const {
  Descriptor file = OpenRegularFile(path);
  StateOfRegularFile(file, path, "cannot read");
  return posix::ReaderOf(std::move(file), path);
}

void DiskFileSystem::WriteNew(const fs::path& path, std::string_view bytes, FileAccess access) {
  const mode_t mode = access == FileAccess::OwnerOnly ? 0600 : 0666;
  Descriptor file = Open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, "cannot create", mode);
  try {
    WriteAll(file.Number(), bytes, path);
    if (!file.Close()) Fail("cannot write", path);
  } catch (const FileError&) {
    ::unlink(path.c_str());
    throw;
  }
}

void DiskFileSystem::Append(const fs::path& path, std::string_view bytes) {
  Descriptor file = Open(path, O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK, "cannot open", 0666);
  const struct stat before = StateOfRegularFile(file, path, "cannot write");
  try {
    WriteAll(file.Number(), bytes, path);
  } catch (const FileError&) {
    RollBackAppend(file.Number(), before.st_size, bytes.size());
    throw;
  }
  if (!file.Close()) Fail("cannot write", path);
}

void DiskFileSystem::Rename(const fs::path& from, const fs::path& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) Fail("cannot replace", to);
}

void DiskFileSystem::Move(const fs::path& from, const fs::path& to) {
  if (::rename(from.c_str(), to.c_str()) == 0) return;
  if (errno != EXDEV) Fail("cannot move to", to);
  const std::unique_ptr<FileReader> source = OpenForReading(from);
  const fs::path temporary = TemporaryNameFor(to);
  Remove(temporary);
  {
    Descriptor target = Open(temporary, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, "cannot create", 0666);
    try {
      std::array<char, 65536> buffer{};
      while (const std::size_t got = source->Read(buffer)) {
        WriteAll(target.Number(), {buffer.data(), got}, temporary);
      }
      if (::fsync(target.Number()) != 0 || !target.Close()) Fail("cannot write", temporary);
    } catch (const FileError&) {
      ::unlink(temporary.c_str());
      throw;
    }
  }
  try {
    Rename(temporary, to);
  } catch (const FileError&) {
    ::unlink(temporary.c_str());
    throw;
  }
  const std::array folder{to.parent_path()};
  Flush(folder);
  Remove(from);
}

void DiskFileSystem::Remove(const fs::path& path) {
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) Fail("cannot remove", path);
}

void DiskFileSystem::CreateFolder(const fs::path& path, FileAccess access) {
  const mode_t mode = access == FileAccess::OwnerOnly ? 0700 : 0777;
  if (::mkdir(path.c_str(), mode) == 0) return;
  const int error = errno;
  if (error == EEXIST && IsFolder(path)) return;
  Fail("cannot create", path, error);
}

void DiskFileSystem::Flush(std::span<const fs::path> folders) {
  // One call flushes a whole file system, names included: measured, for a group of files it costs as much as
  // fsync for a few of them. It reports write errors since Linux 5.8.
  std::set<dev_t> flushed;
  for (const fs::path& folder : folders) {
    const Descriptor descriptor =
        Open(folder.empty() ? fs::path(".") : folder, O_RDONLY | O_DIRECTORY, "cannot flush");
    struct stat state {};
    if (::fstat(descriptor.Number(), &state) != 0) Fail("cannot flush", folder);
    if (!flushed.insert(state.st_dev).second) continue;
    if (::syncfs(descriptor.Number()) != 0) Fail("cannot flush", folder);
  }
}

bool DiskFileSystem::MayRemoveFrom(const fs::path& folder) const {
  return ::access(folder.c_str(), W_OK | X_OK) == 0;
}

std::unique_ptr<FolderLock> DiskFileSystem::TryLock(const fs::path& folder) {
  Descriptor descriptor = Open(folder, O_RDONLY | O_DIRECTORY, "cannot lock");
  if (::flock(descriptor.Number(), LOCK_EX | LOCK_NB) == 0) {
    return std::make_unique<DescriptorLock>(std::move(descriptor));
  }
  if (errno == EWOULDBLOCK) return nullptr;
  Fail("cannot lock", folder);
}

bool DiskFileSystem::KeepToOwner(const fs::path& path) {
  constexpr mode_t ofOthers = 077;
  if (!IsFile(path)) return false;
  const Descriptor file = OpenRegularFile(path);
  const struct stat state = StateOfRegularFile(file, path, "cannot access");
  if ((state.st_mode & ofOthers) == 0) return false;
  if (::fchmod(file.Number(), state.st_mode & 0700U) != 0) Fail("cannot set the permissions of", path);
  return true;
}

void DiskFileSystem::CopyPermissions(const fs::path& model, const fs::path& path) {
  struct stat state {};
  if (::stat(model.c_str(), &state) != 0) Fail("cannot access", model);
  if (::chmod(path.c_str(), state.st_mode & 07777U) != 0) Fail("cannot set the permissions of", path);
}

}  // namespace fieldpost
