#include "faultlog/ArchivedFile.h"

#include <utility>

#include "common/Limits.h"

namespace fieldpost {

bool ArchivedFile::Load(std::string_view bytes) {
  if (!document_.Load(bytes, {.nodes = MaxArchivedFileNodes})) {
    reason_ = document_.Reason();
    return false;
  }
  auto found = document_.ElementsByTagNames({ContainerName, EntryName});
  containers_ = std::move(found[0]);
  entryCount_ = found[1].size();
  if (containers_.empty()) reason_ = "no FLFILE element";
  return !containers_.empty();
}

bool ArchivedFile::MergeIntoArchived(FaultloggerFile& file) {
  file.containerXml_.clear();
  for (XmlElement& entry : file.entries_) {
    entry.SetFirstAttribute(std::to_string(++entryCount_));
    containers_.front().AppendCopyOf(entry);
  }
  return true;
}

}  // namespace fieldpost
