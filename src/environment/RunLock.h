// Prevents two runs from working on the same files.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/RunLists.h"
#include "platform/FileSystem.h"

namespace fieldpost {

/// Locks the folders of a run until the object is destroyed or its process ends.
class RunLock {
 public:
  /// Locks each of the folders that exists and is not locked yet by this object. Returns an empty text on
  /// success. When another run has locked one of them, or one cannot be locked, none of them is locked, and
  /// the result is one line that names the folder. Missing folders are ignored.
  [[nodiscard]] std::string Acquire(FileSystem& files, const PathList& folders);

 private:
  using Identity = std::pair<std::uint64_t, std::uint64_t>;  // of a folder: device and file number

  std::vector<std::unique_ptr<FolderLock>> locks_;
  std::set<Identity> known_;
};

}  // namespace fieldpost
