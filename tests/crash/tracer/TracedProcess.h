// A process (or thread) under the call tracer: what its memory and its open files hold while it is stopped.
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
  bool plain = false;     ///< a plain file, and none of those that the tracer's own output goes to
  bool folder = false;    ///< a folder
  bool socket = false;    ///< a socket
  bool writable = false;  ///< open for writing
  bool appends = false;
  std::uint64_t position = 0;  ///< where the next plain write goes
  std::uint64_t size = 0;
};

class TracedProcess {
 public:
  explicit TracedProcess(pid_t id) : id_(id) {}

  /// Bytes of its memory; fewer where less can be read.
  [[nodiscard]] std::string Bytes(std::uint64_t address, std::size_t count) const;

  /// A text that ends in a NUL.
  [[nodiscard]] std::string Text(std::uint64_t address) const;

  /// A number of the machine's width in its memory.
  [[nodiscard]] std::uint64_t Number(std::uint64_t address) const;

  /// What a descriptor stands for; empty when it stands for nothing.
  [[nodiscard]] std::optional<OpenFile> FileOf(int descriptor) const;

  /// Part of the content of an open file.
  [[nodiscard]] std::string ContentOf(int descriptor, std::uint64_t offset, std::size_t count) const;

  /// The absolute path of a name that is looked up from the folder `descriptor` (AT_FDCWD: the working
  /// folder). Links on the way are followed, the last name is not.
  [[nodiscard]] std::filesystem::path PathOf(int descriptor, std::uint64_t name) const;

 private:
  [[nodiscard]] std::filesystem::path Proc() const;

  pid_t id_;
};

}  // namespace fieldpost::tracer
