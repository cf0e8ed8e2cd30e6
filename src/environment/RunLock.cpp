#include "environment/RunLock.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "common/PathText.h"
#include "common/Text.h"

namespace fieldpost {

std::string RunLock::Acquire(FileSystem& files, const PathList& folders) {
  std::vector<std::unique_ptr<FolderLock>> locked;
  std::set<Identity> known = known_;  // the list may contain a folder under two names
  try {
    for (const std::filesystem::path& folder : folders) {
      if (!files.IsFolder(folder)) continue;
      const FileStamp stamp = files.Stamp(folder);
      if (!known.emplace(stamp.device, stamp.file).second) continue;
      locked.push_back(files.TryLock(folder));
      if (!locked.back()) {
        return fmt::format("Another run of Fieldpost is working in {}; this one ends without doing anything",
                           EscapeControls(Utf8FromPath(folder)));
      }
    }
  } catch (const FileError& error) {
    return error.what();
  }
  std::move(locked.begin(), locked.end(), std::back_inserter(locks_));
  known_ = std::move(known);
  return {};
}

}  // namespace fieldpost
