// Runs again and again, and each time one more of the system's calls fails.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "support/FailingCall.h"
#include "support/Variables.h"

namespace fieldpost::test {

/// Those with which files are read and changed.
inline constexpr std::array<std::string_view, 14> FileCalls{"open",  "openat", "read",   "write",   "close",
                                                            "fstat", "stat",   "chmod",  "mkdir",   "rename",
                                                            "fsync", "syncfs", "unlink", "unlinkat"};

/// For each of these calls and for n = 0, 1, 2, ...: `run(call, n)` makes a whole run in which that call
/// fails at its n-th time, and returns how often it failed; at 0 the run makes no such call any more. Returns
/// how many calls failed in all.
template <class Run>
std::size_t ForEachFailingCall(Run run) {
  // Hundreds of runs flush what they write, which takes no time there.
  const Variables inMemory{{"TMPDIR", "/dev/shm"}};
  std::size_t swept = 0;
  for (const std::string_view call : FileCalls) {
    for (int n = 0; run(call, n) > 0; ++n) ++swept;
  }
  return swept;
}

}  // namespace fieldpost::test
