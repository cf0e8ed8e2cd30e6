// File descriptors (POSIX). Only for the *_posix.cpp sources of this module.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "platform/FileSystem.h"

namespace fieldpost::posix {

/// Throws FileError for a failed system call. `error` is the value of errno.
[[noreturn]] void Fail(std::string_view action, const std::filesystem::path& path, int error = errno);

/// Owns a file descriptor and closes it.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor();

  [[nodiscard]] int Number() const { return number_; }

  /// Closes the descriptor. Returns false when the system reports that written data may be lost.
  [[nodiscard]] bool Close();

  /// Returns the descriptor, which the caller must close.
  [[nodiscard]] int Release() { return std::exchange(number_, -1); }

 private:
  int number_;
};

/// Opens a path with open(2). Throws FileError with `action` when that fails.
Descriptor Open(const std::filesystem::path& path, int flags, std::string_view action, mode_t mode = 0);

/// Opens an entry of an open folder with openat(2). Throws FileError with `action` and `path` when that
/// fails.
Descriptor OpenIn(const Descriptor& folder, std::string_view name, int flags, std::string_view action,
                  const std::filesystem::path& path);

/// Converts the result of stat(2).
FileStamp StampOf(const struct stat& state);

/// Reads up to `buffer.size()` bytes with read(2). Returns the number of bytes, 0 at the end. Throws
/// FileError with `path` when that fails.
std::size_t ReadSome(int number, std::span<char> buffer, const std::filesystem::path& path);

/// Returns a reader of an open file. `path` is for its error messages.
std::unique_ptr<FileReader> ReaderOf(Descriptor file, std::filesystem::path path);

/// Returns a handle of an open folder. `path` is for its error messages.
std::unique_ptr<FolderHandle> HoldFolder(Descriptor folder, std::filesystem::path path);

}  // namespace fieldpost::posix
