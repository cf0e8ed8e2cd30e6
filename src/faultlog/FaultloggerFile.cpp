#include "faultlog/FaultloggerFile.h"

#include <algorithm>
#include <array>

#include "common/Limits.h"
#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr std::string_view ContainerName = "FLFILE";
constexpr std::string_view EntryName = "FAULTLOG";
constexpr std::string_view RunningMode = "f";
constexpr std::array<std::string_view, 5> RecordNames{ContainerName, EntryName, "PRODCODE", "MODEIND",
                                                      "CONDATE"};

}  // namespace

bool FaultloggerFile::Load(std::string_view bytes) {
  containerXml_.clear();
  const bool loads = document_.Load(bytes, {.depth = MaxFaultloggerFileDepth});
  reason_ = document_.Reason();
  if (!loads) return false;
  auto found = document_.ElementsByTagNames({RecordNames.begin(), RecordNames.end()});
  containers_ = std::move(found[0]);
  entries_ = std::move(found[1]);
  productCodes_ = std::move(found[2]);
  modes_ = std::move(found[3]);
  dates_ = std::move(found[4]);
  if (ModesHoldOthers()) reason_ = "a MODEIND holds other elements of the record";
  return reason_.empty();
}

/// Such elements would go when the mode is set, and entries with them.
bool FaultloggerFile::ModesHoldOthers() const {
  return std::any_of(modes_.begin(), modes_.end(),
                     [](const XmlElement& mode) { return mode.Holds(RecordNames); });
}

bool FaultloggerFile::IsComplete() const {
  return !productCodes_.empty() && !entries_.empty() && !containers_.empty() && !modes_.empty();
}

std::string FaultloggerFile::ProductCode() const {
  return productCodes_.front().Text();
}

bool FaultloggerFile::ReadyToFile(const LocalTime& today) const {
  if (modes_.size() < 2 || !EqualNoCase(modes_.back().Text(), RunningMode)) return true;
  if (dates_.size() < modes_.size()) return true;
  return dates_[modes_.size() - 1].Text() != CompactDate(today);
}

void FaultloggerFile::SetProcessMode() {
  for (XmlElement& mode : modes_) mode.SetText(ProcessMode);
}

const std::string& FaultloggerFile::ContainerXml() {
  if (containerXml_.empty()) containerXml_ = containers_.front().Xml();
  return containerXml_;
}

std::string FaultloggerFile::Xml() {
  return document_.Root() == containers_.front() ? document_.Xml(ContainerXml()) : document_.Xml();
}

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
