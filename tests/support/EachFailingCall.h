// Fault injection: repeats a run and lets another system call fail each time.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "support/FailingCall.h"
#include "support/Variables.h"

namespace fieldpost::test {

/// The system calls that read and change files.
inline constexpr std::array<std::string_view, 14> FileCalls{"open",  "openat", "read",   "write",   "close",
                                                            "fstat", "stat",   "chmod",  "mkdir",   "rename",
                                                            "fsync", "syncfs", "unlink", "unlinkat"};

/// Calls `run(call, n)` for each call of FileCalls and for n = 0, 1, 2, ... It must make a whole run in which
/// `call` fails once after n successful calls, and return the number of failures; 0 ends the loop over n,
/// because the run makes fewer calls. Returns the total number of failures.
template <class Run>
std::size_t ForEachFailingCall(Run run) {
  // In memory, the flushes of hundreds of runs take no time.
  const Variables inMemory{{"TMPDIR", "/dev/shm"}};
  std::size_t swept = 0;
  for (const std::string_view call : FileCalls) {
    for (int n = 0; run(call, n) > 0; ++n) ++swept;
  }
  return swept;
}

}  // namespace fieldpost::test
