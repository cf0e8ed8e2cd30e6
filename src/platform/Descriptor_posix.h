// Files and folders as this kind of system knows them: by descriptor. For the sources of this system alone.
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

/// Throws FileError with the system's reason.
[[noreturn]] void Fail(std::string_view action, const std::filesystem::path& path, int error = errno);

/// A file descriptor that is closed at the end of its scope.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor();

  [[nodiscard]] int Number() const { return number_; }

  /// Closes now. False when the system reports that what was written may not have arrived.
  [[nodiscard]] bool Close();

  /// Leaves the closing to somebody else.
  [[nodiscard]] int Release() { return std::exchange(number_, -1); }

 private:
  int number_;
};

/// Throws FileError when it cannot be opened.
Descriptor Open(const std::filesystem::path& path, int flags, std::string_view action, mode_t mode = 0);

/// What bears a plain name in an opened folder; `path` is only for the message.
Descriptor OpenIn(const Descriptor& folder, std::string_view name, int flags, std::string_view action,
                  const std::filesystem::path& path);

FileStamp StampOf(const struct stat& state);

/// Up to `buffer.size()` bytes; 0 at the end. Throws FileError.
std::size_t ReadSome(int number, std::span<char> buffer, const std::filesystem::path& path);

/// Reads an opened file; `path` is only for messages.
std::unique_ptr<FileReader> ReaderOf(Descriptor file, std::filesystem::path path);

/// Holds an opened folder; `path` is only for messages.
std::unique_ptr<FolderHandle> HoldFolder(Descriptor folder, std::filesystem::path path);

}  // namespace fieldpost::posix
