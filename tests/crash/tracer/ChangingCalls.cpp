#include "crash/tracer/ChangingCalls.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace fieldpost::tracer {
namespace fs = std::filesystem;
namespace {

constexpr std::array Calls{
    SYS_open,    SYS_openat,   SYS_creat,     SYS_write,           SYS_pwrite64,  SYS_writev,
    SYS_pwritev, SYS_pwritev2, SYS_rename,    SYS_renameat,        SYS_renameat2, SYS_link,
    SYS_linkat,  SYS_symlink,  SYS_symlinkat, SYS_unlink,          SYS_unlinkat,  SYS_rmdir,
    SYS_mkdir,   SYS_mkdirat,  SYS_truncate,  SYS_ftruncate,       SYS_fallocate, SYS_chmod,
    SYS_fchmod,  SYS_fchmodat, SYS_fsync,     SYS_fdatasync,       SYS_syncfs,    SYS_sync,
    SYS_close,   SYS_sendfile, SYS_ioctl,     SYS_copy_file_range,
};

bool IsThere(const fs::path& path) {
  struct stat state {};
  return ::lstat(path.c_str(), &state) == 0;
}

/// Reads the arguments of a call that is about to be made.
class Reading {
 public:
  Reading(const TracedProcess& process, const Call& call) : process_(process), call_(call) {}

  std::optional<ChangingCall> OfFile() const {
    switch (call_.number) {
      case SYS_open:
        return Opening(AT_FDCWD, 0, Argument(1), Argument(2));
      case SYS_openat:
        return Opening(Descriptor(0), 1, Argument(2), Argument(3));
      case SYS_creat:
        return Opening(AT_FDCWD, 0, O_CREAT | O_WRONLY | O_TRUNC, Argument(1));
      case SYS_write:
        return Writing(Argument(2));
      case SYS_pwrite64:
        return WritingAt(Argument(2), Argument(3));
      case SYS_writev:
        return Writing(SizeOfParts());
      case SYS_pwritev:
      case SYS_pwritev2:
        return WritingAt(SizeOfParts(), Argument(3));
      case SYS_sendfile:
        return Copying(0, Argument(3));
      case SYS_copy_file_range:
        return CopyingRange();
      case SYS_ioctl:
        return Cloning();
      case SYS_ftruncate:
        return OfDescriptor({.change = Change::Truncate, .size = Argument(1)});
      case SYS_fallocate:
        return Growing();
      case SYS_fchmod:
        return OfDescriptor({.change = Change::Chmod, .mode = Argument(1)});
      case SYS_close:
        return Closing();
      case SYS_fsync:
      case SYS_fdatasync:
        return Flushing(Change::Fsync);
      case SYS_syncfs:
        return Flushing(Change::Syncfs);
      case SYS_sync:
        return ChangingCall{.change = Change::Syncfs, .path = "/"};
      default:
        return std::nullopt;
    }
  }

  std::optional<ChangingCall> OfName() const {
    switch (call_.number) {
      case SYS_rename:
        return Naming(Change::Rename, AT_FDCWD, 0, AT_FDCWD, 1);
      case SYS_renameat:
      case SYS_renameat2:
        return Naming(Change::Rename, Descriptor(0), 1, Descriptor(2), 3);
      case SYS_link:
        return Naming(Change::Link, AT_FDCWD, 0, AT_FDCWD, 1);
      case SYS_linkat:
        return Naming(Change::Link, Descriptor(0), 1, Descriptor(2), 3);
      case SYS_symlink:
        return Linking(AT_FDCWD, 1);
      case SYS_symlinkat:
        return Linking(Descriptor(1), 2);
      case SYS_unlink:
        return OfPath({.change = Change::Unlink}, AT_FDCWD, 0);
      case SYS_unlinkat:
        return OfPath({.change = RemovalChange()}, Descriptor(0), 1);
      case SYS_rmdir:
        return OfPath({.change = Change::Rmdir}, AT_FDCWD, 0);
      case SYS_mkdir:
        return OfPath({.change = Change::Mkdir, .mode = Argument(1)}, AT_FDCWD, 0);
      case SYS_mkdirat:
        return OfPath({.change = Change::Mkdir, .mode = Argument(2)}, Descriptor(0), 1);
      case SYS_truncate:
        return OfPath({.change = Change::Truncate, .size = Argument(1)}, AT_FDCWD, 0);
      case SYS_chmod:
        return OfPath({.change = Change::Chmod, .mode = Argument(1)}, AT_FDCWD, 0);
      case SYS_fchmodat:
        return OfPath({.change = Change::Chmod, .mode = Argument(2)}, Descriptor(0), 1);
      default:
        return std::nullopt;
    }
  }

 private:
  std::uint64_t Argument(std::size_t place) const { return call_.arguments.at(place); }
  int Descriptor(std::size_t place) const { return static_cast<int>(Argument(place)); }
  Change RemovalChange() const { return (Argument(2) & AT_REMOVEDIR) != 0 ? Change::Rmdir : Change::Unlink; }

  std::optional<ChangingCall> OfPath(ChangingCall change, int folder, std::size_t name) const {
    change.path = process_.PathOf(folder, Argument(name));
    return change;
  }

  std::optional<ChangingCall> Opening(int folder, std::size_t name, std::uint64_t flags,
                                      std::uint64_t mode) const {
    if ((flags & (O_ACCMODE | O_CREAT | O_TRUNC)) == 0) return std::nullopt;
    ChangingCall change{
        .change = Change::Create, .path = process_.PathOf(folder, Argument(name)), .mode = mode};
    const std::string& path = change.path.native();
    if (path.starts_with("/proc/") || path.starts_with("/sys/")) return std::nullopt;
    if (path.starts_with("/dev/") && !path.starts_with("/dev/shm/")) return std::nullopt;
    change.truncated = (flags & O_TRUNC) != 0;
    change.existed = IsThere(change.path);
    return change;
  }

  std::optional<ChangingCall> OfDescriptor(ChangingCall change, std::size_t place = 0) const {
    const std::optional<OpenFile> file = process_.FileOf(Descriptor(place));
    if (!file || !file->regular) return std::nullopt;
    change.path = file->path;
    change.descriptor = Descriptor(place);
    return change;
  }

  std::optional<ChangingCall> Writing(std::uint64_t size, std::size_t place = 0) const {
    const std::optional<OpenFile> file = process_.FileOf(Descriptor(place));
    if (!file) return std::nullopt;
    const std::uint64_t offset = file->appends ? file->size : file->position;
    return OfDescriptor({.change = Change::Write, .offset = offset, .size = size}, place);
  }

  std::optional<ChangingCall> WritingAt(std::uint64_t size, std::uint64_t offset) const {
    return OfDescriptor({.change = Change::Write, .offset = offset, .size = size});
  }

  std::optional<ChangingCall> Copying(std::size_t place, std::uint64_t size) const {
    std::optional<ChangingCall> change = Writing(size, place);
    if (change) change->change = Change::Copy;
    return change;
  }

  std::optional<ChangingCall> CopyingRange() const {
    std::optional<ChangingCall> change = Copying(2, Argument(4));
    if (change && Argument(3) != 0) change->offset = process_.Number(Argument(3));
    return change;
  }

  std::optional<ChangingCall> Cloning() const {
    if (Argument(1) != FICLONE && Argument(1) != FICLONERANGE) return std::nullopt;
    return OfDescriptor({.change = Change::Copy});
  }

  std::optional<ChangingCall> Growing() const {
    const std::optional<OpenFile> file = process_.FileOf(Descriptor(0));
    const bool keeps = (Argument(1) & FALLOC_FL_KEEP_SIZE) != 0;
    if (!file) return std::nullopt;
    const std::uint64_t end = keeps ? 0 : Argument(2) + Argument(3);
    return OfDescriptor({.change = Change::Truncate, .size = std::max(file->size, end)});
  }

  std::optional<ChangingCall> Closing() const {
    const std::optional<OpenFile> file = process_.FileOf(Descriptor(0));
    if (!file || !file->writable) return std::nullopt;
    return OfDescriptor({.change = Change::Close});
  }

  std::optional<ChangingCall> Flushing(Change change) const {
    const std::optional<OpenFile> file = process_.FileOf(Descriptor(0));
    if (!file || (!file->regular && !file->folder)) return std::nullopt;
    return ChangingCall{
        .change = change, .path = file->path, .descriptor = Descriptor(0), .folder = file->folder};
  }

  std::optional<ChangingCall> Naming(Change change, int fromFolder, std::size_t from, int toFolder,
                                     std::size_t to) const {
    ChangingCall result{.change = change, .path = process_.PathOf(fromFolder, Argument(from))};
    result.to = process_.PathOf(toFolder, Argument(to));
    result.existed = IsThere(result.to);
    return result;
  }

  std::optional<ChangingCall> Linking(int folder, std::size_t name) const {
    return ChangingCall{.change = Change::Symlink,
                        .path = process_.PathOf(folder, Argument(name)),
                        .to = process_.Text(Argument(0))};
  }

  std::uint64_t SizeOfParts() const {
    constexpr std::uint64_t part = 2 * sizeof(std::uint64_t);
    std::uint64_t size = 0;
    for (std::uint64_t i = 0; i < Argument(2); ++i)
      size += process_.Number(Argument(1) + i * part + sizeof(std::uint64_t));
    return size;
  }

  const TracedProcess& process_;
  const Call& call_;
};

std::string_view NameOf(Change change) {
  constexpr std::array<std::string_view, 14> names{"create",  "write",  "write",  "rename", "link",
                                                   "symlink", "unlink", "rmdir",  "mkdir",  "truncate",
                                                   "chmod",   "fsync",  "syncfs", "close"};
  return names.at(static_cast<std::size_t>(change));
}

/// Returns what was written, as the file holds it now.
std::string Written(const ChangingCall& change, const TracedProcess& process, const Call& call,
                    std::int64_t result) {
  const bool cloned = call.number == SYS_ioctl;
  const std::optional<OpenFile> file = process.FileOf(change.descriptor);
  const std::uint64_t size = cloned && file ? file->size : static_cast<std::uint64_t>(result);
  return process.ContentOf(change.descriptor, change.offset, size);
}

std::string Number(std::string_view name, std::uint64_t value) {
  return ",\"" + std::string(name) + "\":" + std::to_string(value);
}

std::string Truth(std::string_view name, bool value) {
  return ",\"" + std::string(name) + (value ? "\":true" : "\":false");
}

/// Returns the permissions that a file has after the call.
std::uint64_t ModeOf(const fs::path& path) {
  struct stat state {};
  return ::stat(path.c_str(), &state) == 0 ? state.st_mode & 07777U : 0;
}

std::string Details(const ChangingCall& change, const TracedProcess& process, const Call& call,
                    std::int64_t result) {
  switch (change.change) {
    case Change::Create:
      return Number("mode", ModeOf(change.path)) + Truth("truncated", change.truncated) +
             Truth("existed", change.existed);
    case Change::Write:
    case Change::Copy:
      return Number("offset", change.offset) +
             ",\"data\":" + JsonBytes(Written(change, process, call, result));
    case Change::Rename:
    case Change::Link:
    case Change::Symlink:
      return ",\"to\":" + JsonText(change.to.native()) + Truth("existed", change.existed);
    case Change::Mkdir:
    case Change::Chmod:
      return Number("mode", ModeOf(change.path));
    case Change::Truncate:
      return Number("size", change.size);
    case Change::Fsync:
      return Truth("folder", change.folder);
    default:
      return {};
  }
}

}  // namespace

std::span<const long> CallsThatMayChange() {
  static constexpr auto all = [] {
    std::array<long, Calls.size()> numbers{};
    std::copy(Calls.begin(), Calls.end(), numbers.begin());
    return numbers;
  }();
  return all;
}

std::optional<ChangingCall> Describe(const TracedProcess& process, const Call& call) {
  const Reading reading(process, call);
  std::optional<ChangingCall> change = reading.OfFile();
  return change ? change : reading.OfName();
}

std::string Line(std::uint64_t number, const ChangingCall& change, const TracedProcess& process,
                 const Call& call, std::int64_t result) {
  std::string line = "{\"n\":" + std::to_string(number) + ",\"call\":\"" +
                     std::string(NameOf(change.change)) + "\",\"path\":" + JsonText(change.path.native());
  if (result < 0) return line + Number("error", static_cast<std::uint64_t>(-result)) + "}";
  return line + Details(change, process, call, result) + "}";
}

}  // namespace fieldpost::tracer
