#include "faultlog/CombinedDocument.h"

#include <fmt/format.h>

#include <utility>

#include "common/DocumentNames.h"
#include "common/Limits.h"
#include "common/Text.h"
#include "outbox/DocumentMode.h"
#include "outbox/WaitingDocument.h"
#include "xml/XmlDocument.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view WrapperName = "TempElement";
constexpr std::string_view CommonRootName = "FLFILES";
constexpr std::string_view LineBreak = "\r\n";
constexpr std::string_view Declaration = "<?xml version=\"1.0\"?>\r\n";
constexpr std::string_view DisplacedEnding = ".displaced";

/// Takes the first opening and the last closing wrapper tag off, and the line break behind the first. The
/// text may be megabytes, so it is changed where it stands, here and below.
void TakeWrapperOff(std::string& text) {
  const std::string opening = fmt::format("<{}>", WrapperName);
  const std::string closing = fmt::format("</{}>", WrapperName);
  if (text.ends_with(closing)) text.resize(text.size() - closing.size());
  const std::size_t begin = text.starts_with(opening) ? opening.size() : 0;
  const bool breaks = std::string_view(text).substr(begin).starts_with(LineBreak);
  text.erase(0, begin + (breaks ? LineBreak.size() : 0));
}

/// An only element is the document's root.
void MakeDocumentOfOne(std::string& element) {
  if (RootAttribute(element, ModeAttribute)) {
    XmlDocument document;
    document.Load(element);
    document.Root().SetAttribute(ModeAttribute, NotSentMode);
    element = fmt::format("{}{}", Declaration, document.Root().Xml());
  } else {
    const std::size_t nameEnd = element.find_first_of(" />\t\r\n", 1);
    element.replace(0, nameEnd,
                    fmt::format("{}{}", Declaration, UnsentStartTag(element.substr(1, nameEnd - 1))));
  }
  element += LineBreak;
}

/// Several elements get a common root.
void MakeDocumentOfMany(std::string& elements) {
  elements.insert(0, fmt::format("{}{}>{}", Declaration, UnsentStartTag(CommonRootName), LineBreak));
  elements += fmt::format("{}</{}>{}", LineBreak, CommonRootName, LineBreak);
}

/// The document of elements that come from elsewhere. False when it does not load; `reason` then tells why.
bool MakeDocumentOfUnknown(std::string& elements, std::string& reason) {
  XmlDocument check;
  if (check.Load(elements)) {
    MakeDocumentOfOne(elements);
    return true;
  }
  MakeDocumentOfMany(elements);
  const bool loads = check.Load(elements);
  reason = check.Reason();
  return loads;
}

}  // namespace

CombinedDocument::CombinedDocument(FileSystem& files, const Clock& clock, const MailSettings& settings,
                                   RunLists& lists, ModWriteLogFile& log, StatusDisplay& display,
                                   FilingBatch& batch, fs::path processFolder)
    : files_(files),
      clock_(clock),
      settings_(settings),
      lists_(lists),
      log_(log),
      display_(display),
      batch_(batch),
      processFolder_(std::move(processFolder)) {}

bool CombinedDocument::AppendToCombinedDocument(FaultloggerFile* file, bool isLast) {
  if (!CombinedBuilder_ && !isLast) CombinedBuilder_.emplace().OpenXML(WrapperName);
  if (file != nullptr && !isLast) CombinedBuilder_->InsertXML(*file);
  if (!CombinedBuilder_) return true;
  if (CombinedBuilder_->GetXMLLength() <= MaxDocumentCharacters && !isLast) return true;
  const std::size_t elements = CombinedBuilder_->ElementCount();
  std::string text = std::move(*CombinedBuilder_).CloseXML(WrapperName);
  CombinedBuilder_.reset();
  return SaveCombinedDocument(std::move(text), elements);
}

bool CombinedDocument::SaveCombinedDocument(std::string text, std::optional<std::size_t> elementCount) {
  TakeWrapperOff(text);
  std::string reason;
  if (elementCount == 1) {
    MakeDocumentOfOne(text);
  } else if (elementCount) {
    MakeDocumentOfMany(text);
  } else if (!MakeDocumentOfUnknown(text, reason)) {
    log_.WriteLog("Parser error: " + reason, LogCategory::Error);
    return false;
  }
  return Publish(text);
}

bool CombinedDocument::Publish(std::string_view text) {
  try {
    const std::string stem = NameStem();
    const fs::path document = processFolder_ / DocumentName(stem, NextNumber(stem, processFolder_));
    KeepDisplaced(document);
    filedCount_ += batch_.Publish(document, text);
    lists_.PendingFiles.push_back({.path = document, .content = {}});
  } catch (const FileError& error) {
    log_.WriteLog(error.what(), LogCategory::Error);
    return false;
  }
  display_.ProcessEvents();
  return true;
}

int CombinedDocument::NextProcessSequence(const fs::path& folder) const {
  return NextNumber(NameStem(), folder);
}

int CombinedDocument::NextNumber(std::string_view stem, const fs::path& folder) const {
  return NextDocumentNumber(stem, files_.ListFiles(folder, ".xml"));
}

void CombinedDocument::KeepDisplaced(const fs::path& document) {
  if (!files_.IsFile(document) || !IsWaitingDocument(files_, document)) return;
  fs::path kept;
  do {
    kept = document;
    kept += fmt::format(".{}{}", ++displacedNumber_, DisplacedEnding);
  } while (files_.Exists(kept));
  batch_.Displace(document, kept);
}

void CombinedDocument::RestoreDisplacedDocuments() {
  for (const std::string& name : files_.ListFiles(processFolder_, DisplacedEnding)) {
    const std::string stem = NameStem();
    const int number = NextNumber(stem, processFolder_);
    if (number >= MaxDocumentsAnHour) return;
    const fs::path document = processFolder_ / DocumentName(stem, number);
    files_.Rename(processFolder_ / name, document);
    lists_.PendingFiles.push_back({.path = document, .content = {}});
  }
}

std::string CombinedDocument::NameStem() const {
  return DocumentStem(FaultlogPrefix, settings_.PartnerID, clock_.Now());
}

}  // namespace fieldpost
