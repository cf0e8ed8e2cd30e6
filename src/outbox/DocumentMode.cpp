#include "outbox/DocumentMode.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>

#include "common/Text.h"
#include "xml/XmlDocument.h"

namespace fieldpost {
namespace {

/// Letters that differ only in case must have the same place in the search table.
struct NoCaseHash {
  std::size_t operator()(char c) const { return static_cast<unsigned char>(c) & 0xDFU; }
};
struct NoCaseEqual {
  bool operator()(char left, char right) const { return EqualNoCase({&left, 1}, {&right, 1}); }
};

std::string ModeText(std::string_view mode) {
  return fmt::format("{}=\"{}\"", ModeAttribute, mode);
}

/// Returns the position of `Mode="Not Sent"` in a document as this program writes them: it is the first
/// attribute of the root element, which follows the declaration. Such a document can be changed without
/// building its tree.
std::optional<std::size_t> PlaceOfUnsentMode(std::string_view document) {
  constexpr std::string_view declaration = "<?xml version=\"1.0\"?>\r\n<";
  if (!document.starts_with(declaration)) return std::nullopt;
  const std::size_t nameEnd = document.find_first_of(" >", declaration.size());
  if (nameEnd == std::string_view::npos) return std::nullopt;
  if (!document.substr(nameEnd).starts_with(" " + ModeText(NotSentMode))) return std::nullopt;
  return nameEnd + 1;
}

}  // namespace

std::string UnsentStartTag(std::string_view rootName) {
  return fmt::format("<{} {}", rootName, ModeText(NotSentMode));
}

bool SaysSent(std::string_view beginning) {
  return RootAttribute(beginning, ModeAttribute) == SentMode;
}

bool SaysNotSent(std::string_view text) {
  static const std::boyer_moore_horspool_searcher searcher(NotSentMode.begin(), NotSentMode.end(),
                                                           NoCaseHash(), NoCaseEqual());
  return std::search(text.begin(), text.end(), searcher) != text.end();
}

std::optional<std::string> MarkedAsSent(std::string_view document) {
  const std::optional<std::size_t> place = PlaceOfUnsentMode(document);
  if (place) {
    if (!IsWellFormedXml(document)) return std::nullopt;
    std::string result(document);
    return result.replace(*place, ModeText(NotSentMode).size(), ModeText(SentMode));
  }
  XmlDocument tree;
  if (!tree.Load(document)) return std::nullopt;
  tree.Root().SetAttribute(ModeAttribute, SentMode);
  return tree.Xml();
}

}  // namespace fieldpost
