// The system calls that change files: which they are, what they do, and how each can fail.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "crash/tracer/TracedProcess.h"

namespace fieldpost::tracer {

/// What a call does, by its name in the record.
enum class Change {
  Create,
  Write,
  Copy,
  Rename,
  Link,
  Symlink,
  Unlink,
  Rmdir,
  Mkdir,
  Truncate,
  Chmod,
  Fsync,
  Syncfs,
  Close
};

/// The ways in which a call can be made to fail.
enum class Fault {
  NoSpace,       ///< ENOSPC
  InputOutput,   ///< EIO
  NoPermission,  ///< EACCES
  ReadOnly,      ///< EROFS
  TooManyFiles,  ///< EMFILE
  Interrupted,   ///< EINTR
  OtherDisk,     ///< EXDEV
  Short,         ///< half of the bytes are written, and the call says so
  Torn,          ///< half of the bytes are written, and the call fails with EIO
  FailingClose,  ///< the close is done and fails with EIO
};

/// A changing call that is about to be made.
struct ChangingCall {
  Change change = Change::Write;
  std::filesystem::path path{};  ///< what is changed
  std::filesystem::path to{};    ///< the new name, or what a symbolic link leads to
  std::uint64_t offset = 0;      ///< of a write, from the beginning of the file
  std::uint64_t size = 0;        ///< of what a write writes, and of a file that is cut or grown
  std::uint64_t mode = 0;        ///< permissions asked for
  int descriptor = -1;           ///< of the changed file, where it is open
  bool truncated = false;        ///< an open that empties the file
  bool existed = false;          ///< an open of a file that was there, a rename onto one
  bool folder = false;           ///< for a flush: of a folder
};

/// Returns the numbers of the system calls that may change a file.
std::span<const long> CallsThatMayChange();

/// Returns what `call` is about to change; empty when it changes no file on a disk.
std::optional<ChangingCall> Describe(const TracedProcess& process, const Call& call);

/// Returns the record's line, without its end, for a call that returned `result`.
std::string Line(std::uint64_t number, const ChangingCall& change, const TracedProcess& process,
                 const Call& call, std::int64_t result);

/// Returns the names of the faults that such a call can have, as members of a JSON array.
std::string FaultNames(Change change);

/// Whether a call that does this can fail that way.
bool CanHave(Change change, Fault fault);

/// Returns the fault of that name; empty when there is none.
std::optional<Fault> FaultNamed(std::string_view name);

/// Returns the errno of a fault; 0 for a short write.
int ErrorOf(Fault fault);

/// Returns a text as a JSON string.
std::string JsonText(std::string_view text);

/// Returns bytes as a JSON string, in base64.
std::string JsonBytes(std::string_view bytes);

}  // namespace fieldpost::tracer
