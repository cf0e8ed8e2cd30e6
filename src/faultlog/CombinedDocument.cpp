#include "faultlog/CombinedDocument.h"

#include <fmt/format.h>

#include <initializer_list>
#include <limits>
#include <utility>

#include "common/DocumentMode.h"
#include "common/DocumentNames.h"
#include "common/Text.h"
#include "common/XmlDocument.h"

namespace fieldpost {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view WrapperName = "TempElement";
constexpr std::string_view ContainerName = "FLFILE";
constexpr std::string_view CommonRootName = "FLFILES";
constexpr std::string_view LineBreak = "\r\n";
constexpr std::string_view Declaration = "<?xml version=\"1.0\"?>\r\n";
constexpr std::string_view DisplacedEnding = ".displaced";
constexpr int LastNumber = 99;

/// Takes the first opening and the last closing wrapper tag off, and the line break behind the first.
std::string_view WithoutWrapper(std::string_view text) {
  const std::string opening = fmt::format("<{}>", WrapperName);
  const std::string closing = fmt::format("</{}>", WrapperName);
  if (text.starts_with(opening)) text.remove_prefix(opening.size());
  if (text.ends_with(closing)) text.remove_suffix(closing.size());
  if (text.starts_with(LineBreak)) text.remove_prefix(LineBreak.size());
  return text;
}

/// A text of megabytes is put together once, in a buffer of the right size.
std::string Join(std::initializer_list<std::string_view> parts) {
  std::size_t size = 0;
  for (const std::string_view part : parts) size += part.size();
  std::string result;
  result.reserve(size);
  for (const std::string_view part : parts) result += part;
  return result;
}

/// An only element is the document's root.
std::string DocumentOfOne(std::string_view element) {
  if (RootAttribute(element, ModeAttribute)) {
    XmlDocument document;
    document.Load(element);
    document.Root().SetAttribute(ModeAttribute, NotSentMode);
    return Join({Declaration, document.Root().Xml(), LineBreak});
  }
  const std::size_t nameEnd = element.find_first_of(" />\t\r\n", 1);
  return Join(
      {Declaration, UnsentStartTag(element.substr(1, nameEnd - 1)), element.substr(nameEnd), LineBreak});
}

/// Several elements get a common root.
std::string DocumentOfMany(std::string_view elements) {
  return Join({Declaration, UnsentStartTag(CommonRootName), ">", LineBreak, elements, LineBreak, "</",
               CommonRootName, ">", LineBreak});
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
  if (CombinedBuilder_->GetXMLLength() <= MaxCharacters && !isLast) return true;
  const std::string text = CombinedBuilder_->CloseXML(WrapperName);
  const std::size_t elements = CombinedBuilder_->ElementCount();
  CombinedBuilder_.reset();
  return SaveCombinedDocument(text, elements);
}

bool CombinedDocument::SaveCombinedDocument(std::string_view closedText,
                                            std::optional<std::size_t> elementCount) {
  const std::string_view elements = WithoutWrapper(closedText);
  if (!elementCount) {
    XmlDocument check;
    elementCount = check.Load(elements) ? 1 : 2;
    if (*elementCount == 2 && !check.Load(DocumentOfMany(elements))) {
      log_.WriteLog("Parser error: " + check.Reason(), LogCategory::Error);
      return false;
    }
  }
  try {
    const std::string stem = NameStem();
    const fs::path document = processFolder_ / DocumentName(stem, NextNumber(stem, processFolder_));
    KeepDisplaced(document);
    filedCount_ +=
        batch_.Publish(document, *elementCount == 1 ? DocumentOfOne(elements) : DocumentOfMany(elements));
    lists_.PendingFiles.push_back(document);
  } catch (const FileError& error) {
    log_.WriteLog(error.what(), LogCategory::Error);
    return false;
  }
  display_.LetEventsRun();
  return true;
}

int CombinedDocument::NextProcessSequence(const fs::path& folder) const {
  return NextNumber(NameStem(), folder);
}

int CombinedDocument::NextNumber(std::string_view stem, const fs::path& folder) const {
  return NextDocumentNumber(stem, files_.ListFiles(folder, ".xml"));
}

void CombinedDocument::KeepDisplaced(const fs::path& document) {
  if (!files_.IsFile(document)) return;
  const std::string text = files_.ReadWhole(document, std::numeric_limits<std::uint64_t>::max());
  if (SaysSent(text) || !SaysNotSent(text)) return;
  fs::path kept;
  for (int number = 1; kept.empty() || files_.Exists(kept); ++number) {
    kept = document;
    kept += fmt::format(".{}{}", number, DisplacedEnding);
  }
  batch_.StageBeside(kept, text);
}

void CombinedDocument::RestoreDisplacedDocuments() {
  for (const std::string& name : files_.ListFiles(processFolder_, DisplacedEnding)) {
    const std::string stem = NameStem();
    const int number = NextNumber(stem, processFolder_);
    if (number >= LastNumber) return;
    const fs::path document = processFolder_ / DocumentName(stem, number);
    files_.Rename(processFolder_ / name, document);
    lists_.PendingFiles.push_back(document);
  }
}

std::string CombinedDocument::NameStem() const {
  return DocumentStem(FaultlogPrefix, settings_.PartnerID, clock_.Now());
}

}  // namespace fieldpost
