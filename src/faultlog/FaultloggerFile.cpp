#include "faultlog/FaultloggerFile.h"

#include <algorithm>
#include <array>

#include "common/Limits.h"
#include "common/Text.h"

namespace fieldpost {
namespace {

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
  if (HasRecordInsideMode()) reason_ = "a MODEIND holds other elements of the record";
  return reason_.empty();
}

/// Setting the mode would remove such elements.
bool FaultloggerFile::HasRecordInsideMode() const {
  return std::any_of(modes_.begin(), modes_.end(),
                     [](const XmlElement& mode) { return mode.Contains(RecordNames); });
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

}  // namespace fieldpost
