// Keeps two runs from working on the same files.
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

/// The folders of one run, held until the object ends, or its process does.
class RunLock {
 public:
  /// Takes every folder that exists, or none, besides those that it has already. Empty on success, else one
  /// line that says which folder another run has, or cannot be taken. Two programs that share any folder
  /// exclude each other.
  [[nodiscard]] std::string Acquire(FileSystem& files, const PathList& folders);

 private:
  using Identity = std::pair<std::uint64_t, std::uint64_t>;  // of a folder, by whatever name

  std::vector<std::unique_ptr<FolderLock>> locks_;
  std::set<Identity> known_;
};

}  // namespace fieldpost
