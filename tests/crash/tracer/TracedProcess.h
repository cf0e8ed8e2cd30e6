// A process (or thread) under the call tracer: its memory and its open files while it is stopped.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace fieldpost::tracer {

/// A system call that is about to be made.
struct Call {
  long number = -1;
  std::array<std::uint64_t, 6> arguments{};

  bool operator==(const Call&) const = default;
};

/// An open file of a process.
struct OpenFile {
  std::filesystem::path path;
  bool regular = false;   ///< a regular file, but not one that the tracer's own output goes to
  bool folder = false;    ///< a folder
  bool socket = false;    ///< a socket
  bool writable = false;  ///< open for writing
  bool appends = false;
  std::uint64_t position = 0;  ///< where the next write without an offset goes
  std::uint64_t size = 0;
};

class TracedProcess {
 public:
  explicit TracedProcess(pid_t id) : id_(id) {}

  /// Returns bytes of its memory; fewer where less can be read.
  [[nodiscard]] std::string Bytes(std::uint64_t address, std::size_t count) const;

  /// Returns a text of its memory that ends in a NUL.
  [[nodiscard]] std::string Text(std::uint64_t address) const;

  /// Returns a number of the machine's width in its memory.
  [[nodiscard]] std::uint64_t Number(std::uint64_t address) const;

  /// Returns the file of an open descriptor; empty when the descriptor is not open.
  [[nodiscard]] std::optional<OpenFile> FileOf(int descriptor) const;

  /// Returns up to `count` bytes of an open file from `offset` on.
  [[nodiscard]] std::string ContentOf(int descriptor, std::uint64_t offset, std::size_t count) const;

  /// Returns the absolute path of a name that is looked up from the folder `descriptor` (AT_FDCWD: the
  /// working folder). Links on the way are followed, the last name is not.
  [[nodiscard]] std::filesystem::path PathOf(int descriptor, std::uint64_t name) const;

 private:
  [[nodiscard]] std::filesystem::path Proc() const;

  pid_t id_;
};

}  // namespace fieldpost::tracer
