#include "crash/tracer/TracedProcess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>

namespace fieldpost::tracer {
namespace fs = std::filesystem;
namespace {

/// Returns what can be read of a file from `offset` on, up to `count` bytes.
std::string ReadAt(const fs::path& path, std::uint64_t offset, std::size_t count) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return {};
  std::string bytes(count, '\0');
  std::size_t filled = 0;
  while (filled < count) {
    const ssize_t got =
        ::pread(file, bytes.data() + filled, count - filled, static_cast<off_t>(offset + filled));
    if (got <= 0) break;
    filled += static_cast<std::size_t>(got);
  }
  ::close(file);
  bytes.resize(filled);
  return bytes;
}

/// Whether the file is standard input, output or error of the tracer.
bool IsStandardStream(const struct stat& state) {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    struct stat own {};
    if (::fstat(stream, &own) == 0 && own.st_dev == state.st_dev && own.st_ino == state.st_ino) return true;
  }
  return false;
}

/// Whether a path lies in a file system that is on no disk.
bool IsOfTheSystem(const fs::path& path) {
  const std::string& text = path.native();
  return text.starts_with("/memfd:") || text.starts_with("/proc/") || text.starts_with("/sys/") ||
         (text.starts_with("/dev/") && !text.starts_with("/dev/shm/"));
}

}  // namespace

fs::path TracedProcess::Proc() const {
  return fs::path("/proc") / std::to_string(id_);
}

std::string TracedProcess::Bytes(std::uint64_t address, std::size_t count) const {
  return ReadAt(Proc() / "mem", address, count);
}

std::string TracedProcess::Text(std::uint64_t address) const {
  constexpr std::uint64_t step = 256;  // a step never crosses into a page that may be missing
  std::string text;
  for (;;) {
    const std::string more = Bytes(address, step - address % step);
    const std::size_t end = more.find('\0');
    text.append(more, 0, end);
    if (end != std::string::npos || more.empty()) return text;
    address += more.size();
  }
}

std::uint64_t TracedProcess::Number(std::uint64_t address) const {
  std::uint64_t number = 0;
  const std::string bytes = Bytes(address, sizeof(number));
  std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof(number)));
  return number;
}

std::optional<OpenFile> TracedProcess::FileOf(int descriptor) const {
  const fs::path link = Proc() / "fd" / std::to_string(descriptor);
  struct stat state {};
  std::error_code failed;
  OpenFile file{.path = fs::read_symlink(link, failed)};
  if (failed || ::stat(link.c_str(), &state) != 0) return std::nullopt;
  file.folder = S_ISDIR(state.st_mode);
  file.socket = S_ISSOCK(state.st_mode);
  file.regular = S_ISREG(state.st_mode) && !IsOfTheSystem(file.path) && !IsStandardStream(state);
  file.size = static_cast<std::uint64_t>(state.st_size);
  constexpr std::string_view removed = " (deleted)";
  std::string path = file.path.native();
  if (state.st_nlink == 0 && path.ends_with(removed))
    file.path = path.substr(0, path.size() - removed.size());

  std::ifstream information(Proc() / "fdinfo" / std::to_string(descriptor));
  unsigned flags = 0;
  std::string label;
  information >> label >> file.position >> label >> std::oct >> flags;
  file.writable = (flags & O_ACCMODE) != O_RDONLY;
  file.appends = (flags & O_APPEND) != 0;
  return file;
}

std::string TracedProcess::ContentOf(int descriptor, std::uint64_t offset, std::size_t count) const {
  return ReadAt(Proc() / "fd" / std::to_string(descriptor), offset, count);
}

fs::path TracedProcess::PathOf(int descriptor, std::uint64_t name) const {
  const fs::path from = descriptor == AT_FDCWD ? Proc() / "cwd" : Proc() / "fd" / std::to_string(descriptor);
  std::error_code failed;
  fs::path text = Text(name);
  if (!text.has_filename()) text = text.parent_path();
  const fs::path whole = text.is_absolute() ? text : fs::read_symlink(from, failed) / text;
  const fs::path folder = fs::weakly_canonical(whole.parent_path(), failed);
  return failed ? whole : folder / whole.filename();
}

}  // namespace fieldpost::tracer
