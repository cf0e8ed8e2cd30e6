#include "faultlog/CombinedDocument.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

#include "common/Limits.h"
#include "outbox/DocumentMode.h"
#include "xml/XmlDocument.h"

namespace fieldpost {
namespace {

constexpr std::string_view WrapperName = "TempElement";
constexpr std::string_view CommonRootName = "FLFILES";
constexpr std::string_view LineBreak = "\r\n";
constexpr std::string_view Declaration = "<?xml version=\"1.0\"?>\r\n";

/// Removes the outer wrapper tags and the line break after the opening one. The text may be megabytes long,
/// so this and the functions below change it in place.
void RemoveWrapper(std::string& text) {
  const std::string opening = fmt::format("<{}>", WrapperName);
  const std::string closing = fmt::format("</{}>", WrapperName);
  if (text.ends_with(closing)) text.resize(text.size() - closing.size());
  const std::size_t begin = text.starts_with(opening) ? opening.size() : 0;
  const bool breaks = std::string_view(text).substr(begin).starts_with(LineBreak);
  text.erase(0, begin + (breaks ? LineBreak.size() : 0));
}

/// Several elements get a common root.
void AddCommonRoot(std::string& elements) {
  elements.insert(0, fmt::format("{}{}>{}", Declaration, UnsentStartTag(CommonRootName), LineBreak));
  elements += fmt::format("{}</{}>{}", LineBreak, CommonRootName, LineBreak);
}

/// A single element is the root of its document, unless it has a mode that cannot be changed.
void MakeRootOfElement(std::string& element) {
  if (RootAttribute(element, ModeAttribute)) {
    XmlDocument document;
    if (!document.Load(element)) return AddCommonRoot(element);
    document.Root().SetAttribute(ModeAttribute, NotSentMode);
    element = fmt::format("{}{}", Declaration, document.Root().Xml());
  } else {
    const std::size_t nameEnd = element.find_first_of(" />\t\r\n", 1);
    element.replace(0, nameEnd,
                    fmt::format("{}{}", Declaration, UnsentStartTag(element.substr(1, nameEnd - 1))));
  }
  element += LineBreak;
}

/// Makes a document of elements that no builder has counted.
DocumentText DocumentOfUncounted(std::string text) {
  XmlDocument check;
  if (check.Load(text)) {
    MakeRootOfElement(text);
    return {.text = std::move(text), .reason = {}};
  }
  AddCommonRoot(text);
  if (check.Load(text)) return {.text = std::move(text), .reason = {}};
  return {.text = {}, .reason = check.Reason()};
}

}  // namespace

std::optional<ClosedText> CombinedDocument::AppendToCombinedDocument(FaultloggerFile* file, bool isLast) {
  if (!CombinedBuilder_ && !isLast) CombinedBuilder_.emplace().OpenXML(WrapperName);
  if (file != nullptr && !isLast) CombinedBuilder_->InsertXML(*file);
  if (!CombinedBuilder_) return std::nullopt;
  if (CombinedBuilder_->GetXMLLength() <= MaxDocumentCharacters && !isLast) return std::nullopt;
  BuildXML builder = *std::exchange(CombinedBuilder_, std::nullopt);
  const std::size_t elementCount = builder.ElementCount();
  return ClosedText{.text = std::move(builder).CloseXML(WrapperName), .elementCount = elementCount};
}

DocumentText DocumentFromClosedText(ClosedText closed) {
  RemoveWrapper(closed.text);
  if (!closed.elementCount) return DocumentOfUncounted(std::move(closed.text));
  if (closed.elementCount == 1) {
    MakeRootOfElement(closed.text);
  } else {
    AddCommonRoot(closed.text);
  }
  return {.text = std::move(closed.text), .reason = {}};
}

}  // namespace fieldpost
