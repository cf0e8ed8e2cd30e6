#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <set>
#include <system_error>
#include <utility>

#include "common/Text.h"
#include "platform/FileSystem.h"

namespace fieldpost {
namespace fs = std::filesystem;
namespace {

[[noreturn]] void Fail(std::string_view action, const fs::path& path, int error = errno) {
  throw FileError(action, path, std::generic_category().message(error));
}

/// A file descriptor that is closed at the end of its scope.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }

  [[nodiscard]] int Number() const { return number_; }

  /// Closes now. False when the system reports that what was written may not have arrived.
  [[nodiscard]] bool Close() { return ::close(std::exchange(number_, -1)) == 0; }

 private:
  int number_;
};

Descriptor Open(const fs::path& path, int flags, std::string_view action, mode_t mode = 0) {
  int number = -1;
  do {
    number = ::open(path.c_str(), flags | O_CLOEXEC, mode);
  } while (number < 0 && errno == EINTR);
  if (number < 0) Fail(action, path);
  return Descriptor(number);
}

/// O_NONBLOCK keeps a pipe that was put in the file's place from holding the program up.
Descriptor OpenPlainFile(const fs::path& path) {
  return Open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK, "cannot open");
}

FileStamp StampOf(const struct stat& state) {
  return {.size = static_cast<std::uint64_t>(state.st_size),
          .modifiedNanoseconds = std::int64_t{state.st_mtim.tv_sec} * 1'000'000'000 + state.st_mtim.tv_nsec,
          .device = state.st_dev,
          .file = state.st_ino};
}

std::size_t ReadSome(int number, std::span<char> buffer, const fs::path& path) {
  ssize_t got = -1;
  do {
    got = ::read(number, buffer.data(), buffer.size());
  } while (got < 0 && errno == EINTR);
  if (got < 0) Fail("cannot read", path);
  return static_cast<std::size_t>(got);
}

FileContent ReadPlainFile(const Descriptor& file, const fs::path& path, std::uint64_t maxBytes) {
  struct stat state {};
  if (::fstat(file.Number(), &state) != 0) Fail("cannot look at", path);
  if (!S_ISREG(state.st_mode)) throw FileError("cannot read", path, "not a plain file");
  if (static_cast<std::uint64_t>(state.st_size) > maxBytes) throw FileTooLarge(path, maxBytes);

  // One byte more than the file has: of a plain file, the read that returns less than it was asked for is the
  // last.
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

class DescriptorReader final : public FileReader {
 public:
  DescriptorReader(Descriptor descriptor, fs::path path)
      : descriptor_(std::move(descriptor)), path_(std::move(path)) {}

  std::size_t Read(std::span<char> buffer) override { return ReadSome(descriptor_.Number(), buffer, path_); }

 private:
  Descriptor descriptor_;
  fs::path path_;
};

/// `flock` on the folder itself: no lock file is left behind, and the system ends it with the process.
class DescriptorLock final : public FolderLock {
 public:
  explicit DescriptorLock(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

 private:
  Descriptor descriptor_;
};

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

bool IsPlainFile(int folder, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_REG;
  struct stat state {};
  return ::fstatat(folder, entry.d_name, &state, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(state.st_mode);
}

}  // namespace

DiskFileSystem::DiskFileSystem() {
  // Who opens a file for writing while ReadFinished holds its lease makes the system send this signal, and
  // its default is to end the program. The lease is over a moment later in any case.
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
  if (::stat(path.c_str(), &state) != 0) Fail("cannot look at", path);
  return StampOf(state);
}

std::optional<FileStamp> DiskFileSystem::PlainFileStamp(const fs::path& path) const {
  struct stat state {};
  if (::lstat(path.c_str(), &state) != 0 || !S_ISREG(state.st_mode)) return std::nullopt;
  return StampOf(state);
}

std::vector<std::string> DiskFileSystem::ListFiles(const fs::path& folder, std::string_view ending) const {
  const std::unique_ptr<DIR, CloseFolder> stream(::opendir(folder.c_str()));
  if (!stream) Fail("cannot list", folder);
  std::vector<std::string> names;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(stream.get());
    if (entry == nullptr) break;
    const std::string_view name = entry->d_name;
    if (EndsWithNoCase(name, ending) && IsPlainFile(::dirfd(stream.get()), *entry)) names.emplace_back(name);
  }
  if (errno != 0) Fail("cannot list", folder);
  std::sort(names.begin(), names.end());
  return names;
}

std::string DiskFileSystem::ReadWhole(const fs::path& path, std::uint64_t maxBytes) const {
  return ReadPlainFile(OpenPlainFile(path), path, maxBytes).bytes;
}

std::optional<FileContent> DiskFileSystem::ReadFinished(const fs::path& path, std::uint64_t maxBytes) const {
  const Descriptor file = OpenPlainFile(path);
  // A read lease is refused with EAGAIN while anybody has the file open for writing (fcntl(2)); any other
  // refusal says nothing about writers. It ends when the file is closed.
  if (::fcntl(file.Number(), F_SETLEASE, F_RDLCK) != 0 && errno == EAGAIN) return std::nullopt;
  return ReadPlainFile(file, path, maxBytes);
}

std::unique_ptr<FileReader> DiskFileSystem::OpenForReading(const fs::path& path) const {
  return std::make_unique<DescriptorReader>(Open(path, O_RDONLY, "cannot open"), path);
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
  Descriptor file = Open(path, O_WRONLY | O_CREAT | O_APPEND, "cannot open", 0666);
  WriteAll(file.Number(), bytes, path);
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
  Rename(temporary, to);
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
  // One call flushes a whole file system, names included: measured, it costs a group of files what fsync
  // costs a few of them. It reports write errors since Linux 5.8.
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

void DiskFileSystem::CopyPermissions(const fs::path& model, const fs::path& path) {
  struct stat state {};
  if (::stat(model.c_str(), &state) != 0) Fail("cannot look at", model);
  if (::chmod(path.c_str(), state.st_mode & 07777U) != 0) Fail("cannot set the permissions of", path);
}

}  // namespace fieldpost
