#include "xml/XmlGuard.h"

#include <fmt/format.h>
#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <utility>

#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr int ParseOptions = XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_NOBLANKS | XML_PARSE_COMPACT |
                             XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_BIG_LINES;
constexpr std::size_t PieceBytes = std::size_t{32} * 1024;
/// What is only looked through is a document gathered of files that were each within the bounds. All their
/// names together may be many more, and a root has its `Mode` besides.
constexpr std::size_t MaxAttributesGathered = XmlDocument::MaxAttributes + 1;
constexpr std::size_t MaxSignsInTag = MaxAttributesGathered + XmlDocument::MaxNamespaces;

std::string MoreThan(std::size_t count, std::string_view what) {
  return fmt::format("more than {} {}", count, what);
}

/// Whether an encoding writes "<" and "=" as the bytes that they are in ASCII, and nothing else as these.
bool IsLikeAscii(std::string_view encoding) {
  static constexpr std::array<std::string_view, 5> beginnings{"utf-8", "iso-8859-", "us-ascii", "windows-125",
                                                              "ascii"};
  const std::string lower = ToLowerAscii(encoding);
  return std::any_of(beginnings.begin(), beginnings.end(),
                     [&](std::string_view beginning) { return lower.starts_with(beginning); });
}

/// Whether the tags of a document can be seen in its bytes.
bool ShowsItsTags(std::string_view bytes) {
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  constexpr std::size_t longestDeclaration = 1024;
  if (bytes.starts_with(mark)) bytes.remove_prefix(mark.size());
  if (!bytes.starts_with('<') || bytes.substr(1).starts_with('\0')) return false;
  if (!bytes.starts_with("<?xml")) return true;
  const std::size_t end = bytes.substr(0, longestDeclaration).find("?>");
  if (end == std::string_view::npos) return false;
  const std::string_view declaration = bytes.substr(0, end);
  const std::size_t name = declaration.find("encoding");
  if (name == std::string_view::npos) return true;
  const std::size_t quote = declaration.find_first_of("\"'", name);
  return quote != std::string_view::npos && IsLikeAscii(declaration.substr(quote + 1));
}

/// What a copy of nodes, and of those in them, is made of.
struct Measure {
  std::size_t nodes = 0;
  std::size_t bytes = 0;

  void Add(const xmlNode& node, std::size_t maxNodes) {
    if (++nodes > maxNodes || node.type == XML_ENTITY_REF_NODE) return;
    if (node.type != XML_ELEMENT_NODE) {
      bytes += FromXml(node.content).size();
      return;
    }
    for (const xmlAttr* one = node.properties; one != nullptr; one = one->next) nodes += 2;
    for (const xmlNode* child = node.children; child != nullptr && nodes <= maxNodes; child = child->next) {
      Add(*child, maxNodes);
    }
  }
};

}  // namespace

bool HasCrowdedStretch(std::string_view bytes) {
  std::size_t signs = 0;
  return std::any_of(bytes.begin(), bytes.end(), [&](char c) {
    if (c == '<') signs = 0;
    return c == '=' && ++signs > XmlDocument::MaxAttributes;
  });
}

std::size_t CountAttributes(std::string_view tag) {
  std::size_t signs = 0;
  char quote = 0;
  for (const char c : tag) {
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '=') {
      ++signs;
    }
  }
  return signs;
}

XmlGuard::XmlGuard(Keep keep, const XmlDocument::Bounds& bounds, std::string& reason)
    : keepsTree_(keep == Keep::Tree),
      bounds_(bounds),
      reason_(reason),
      parser_(xmlCreatePushParserCtxt(nullptr, nullptr, nullptr, 0, nullptr)) {
  if (!parser_) throw std::bad_alloc();
  parser_->_private = this;
  SetHandlers(*parser_->sax);
  SetDeclarationHandlers(*parser_->sax);
}

void XmlGuard::SetHandlers(xmlSAXHandler& handler) const {
  handler.serror = OnError;
  handler.startElementNs = OnStart;
  handler.endElementNs = OnEnd;
  handler.getEntity = OnEntity;
  handler.getParameterEntity = OnParameterEntity;
  handler.characters = keepsTree_ ? OnText : nullptr;
  handler.ignorableWhitespace = handler.characters;
  handler.cdataBlock = keepsTree_ ? OnCdata : nullptr;
  handler.comment = keepsTree_ ? OnComment : nullptr;
  handler.processingInstruction = keepsTree_ ? OnInstruction : nullptr;
}

void XmlGuard::SetDeclarationHandlers(xmlSAXHandler& handler) {
  handler.entityDecl = OnEntityDeclaration;
  handler.attributeDecl = OnAttributeDeclaration;
  handler.elementDecl = OnElementDeclaration;
  handler.notationDecl = OnNotation;
  handler.unparsedEntityDecl = OnUnparsedEntity;
  handler.externalSubset = nullptr;
}

/// Entities are parsed in contexts of their own; this is what they have in common.
XmlGuard& XmlGuard::Of(void* context) {
  return *static_cast<XmlGuard*>(static_cast<xmlParserCtxt*>(context)->_private);
}

bool XmlGuard::Parse(std::string_view bytes) {
  if (bytes.empty() || bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    reason_ = bytes.empty() ? "the file is empty" : "too large for the XML parser";
    return false;
  }
  const bool suspicious = bytes.size() > PieceBytes && (!ShowsItsTags(bytes) || HasCrowdedStretch(bytes));
  const bool parsed = suspicious ? ParseInPieces(bytes) : ParseWhole(bytes);
  return parsed && !refused_ && parser_->nsWellFormed == 1 && EndsAtZeros();
}

xmlDoc* XmlGuard::TakeTree() {
  return std::exchange(parser_->myDoc, nullptr);
}

bool XmlGuard::ParseWhole(std::string_view bytes) {
  parser_->myDoc = xmlCtxtReadMemory(parser_.get(), bytes.data(), static_cast<int>(bytes.size()), nullptr,
                                     nullptr, ParseOptions);
  return parser_->myDoc != nullptr;
}

/// The parser holds a tag back until it has seen the whole of it, and here it can be looked at. Blanks are
/// kept, as a text may lie across two pieces.
bool XmlGuard::ParseInPieces(std::string_view bytes) {
  xmlCtxtUseOptions(parser_.get(), ParseOptions & ~XML_PARSE_NOBLANKS);
  while (!bytes.empty() && !refused_ && parser_->wellFormed == 1) {
    const std::string_view piece = bytes.substr(0, PieceBytes);
    bytes.remove_prefix(piece.size());
    xmlParseChunk(parser_.get(), piece.data(), static_cast<int>(piece.size()), bytes.empty() ? 1 : 0);
    if (HoldsCrowdedTag()) Refuse(MoreThan(XmlDocument::MaxAttributes, "attributes in one tag"));
  }
  return parser_->wellFormed == 1;
}

/// Whether more than a tag may have is in the one that is held back. What lies within quotes does not count.
bool XmlGuard::HoldsCrowdedTag() {
  const xmlParserInput* const input = parser_->input;
  if (refused_ || input == nullptr || input->end - input->cur < 2) return false;
  if (input->cur[0] != '<' || input->cur[1] == '!' || input->cur[1] == '?') return false;
  const unsigned long at = input->consumed + static_cast<unsigned long>(input->cur - input->base);
  if (at != std::exchange(heldAt_, at)) {
    heldSeen_ = 0;
    heldSigns_ = 0;
    heldQuote_ = 0;
  }
  for (const xmlChar* c = input->cur + heldSeen_; c < input->end; ++c) {
    if (heldQuote_ != 0) {
      if (*c == heldQuote_) heldQuote_ = 0;
    } else if (*c == '"' || *c == '\'') {
      heldQuote_ = *c;
    } else if (*c == '=') {
      ++heldSigns_;
    }
  }
  heldSeen_ = static_cast<std::size_t>(input->end - input->cur);
  return heldSigns_ > MaxSignsInTag;
}

/// Keeps the first complaint: later ones are mostly its consequences. Behind a fault the parser would go on
/// without telling anybody what it meets.
void XmlGuard::OnError(void* context, xmlError* error) {
  XmlGuard& guard = Of(context);
  if (error->level == XML_ERR_FATAL) {
    guard.refused_ = true;  // the fault may be an entity's, and the document does not come to know of it
    xmlStopParser(static_cast<xmlParserCtxt*>(context));
    xmlStopParser(guard.parser_.get());
  }
  if (!guard.reason_.empty() || error->level < XML_ERR_ERROR || error->message == nullptr) return;
  std::string text = EscapeControls(Trimmed(error->message));
  if (error->code == XML_ERR_DOCUMENT_END && !guard.namespaces_.empty()) text = "the document ends too early";
  if (error->code == XML_ERR_ENTITY_LOOP) {
    text = "its entities stand for themselves, or for far more than is in the file";
  }
  guard.reason_ = fmt::format("line {}: {}", error->line, text);
}

/// The bound counts for more than complaints that were no reason to stop.
bool XmlGuard::Refuse(std::string_view bound) {
  if (std::exchange(refused_, true)) return false;
  reason_ = fmt::format("line {}: {}", parser_->input == nullptr ? 0 : parser_->input->line, bound);
  xmlStopParser(parser_.get());
  return false;
}

/// To the parser a zero ends the text. Devices fill their files up with zeros; anything else would be lost.
bool XmlGuard::EndsAtZeros() {
  const xmlParserInput* const input = parser_->input;
  if (input == nullptr || std::all_of(input->cur, input->end, [](xmlChar c) { return c == 0; })) return true;
  reason_ = fmt::format("line {}: text behind a zero byte", input->line);
  return false;
}

bool XmlGuard::Count(Part part, std::size_t nodes) {
  if (refused_) return false;
  const bool continued = part == Part::Text && inText_;  // the parser hands long texts over in parts
  inText_ = part == Part::Text;
  if (!continued) nodes_ += nodes;
  return nodes_ <= bounds_.nodes || Refuse(MoreThan(bounds_.nodes, "elements, attributes and texts"));
}

bool XmlGuard::CountDeclaration() {
  if (refused_) return false;
  return ++declarations_ <= XmlDocument::MaxDeclarations ||
         Refuse(MoreThan(XmlDocument::MaxDeclarations, "declarations in the document type"));
}

/// An entity is replaced each time that it is met: each time counts.
bool XmlGuard::CountUse(const xmlEntity& entity) {
  if (refused_) return false;
  inText_ = false;
  Measure measure;
  for (const xmlNode* node = entity.children; node != nullptr && measure.nodes <= bounds_.nodes;
       node = node == entity.last ? nullptr : node->next) {
    measure.Add(*node, bounds_.nodes);
  }
  entityBytes_ += std::max(measure.bytes, static_cast<std::size_t>(std::max(entity.length, 0)));
  if (++entityUses_ > XmlDocument::MaxEntityUses) {
    return Refuse(fmt::format("its entities are used more than {} times", XmlDocument::MaxEntityUses));
  }
  if (entityBytes_ > XmlDocument::MaxEntityBytes) {
    return Refuse(fmt::format("its entities stand for more than {} bytes", XmlDocument::MaxEntityBytes));
  }
  return !keepsTree_ || Count(Part::Other, measure.nodes);
}

bool XmlGuard::EnterElement(int namespaceCount, int attributeCount) {
  if (refused_) return false;
  const auto attributes = static_cast<std::size_t>(attributeCount);
  const std::size_t inForce =
      (namespaces_.empty() ? 0 : namespaces_.back()) + static_cast<std::size_t>(namespaceCount);
  namespaces_.push_back(inForce);
  if (keepsTree_ && namespaces_.size() > static_cast<std::size_t>(bounds_.depth)) {
    return Refuse(fmt::format("nested deeper than {} levels", bounds_.depth));
  }
  if (attributes > (keepsTree_ ? XmlDocument::MaxAttributes : MaxAttributesGathered)) {
    return Refuse(MoreThan(XmlDocument::MaxAttributes, "attributes in one tag"));
  }
  if (inForce > XmlDocument::MaxNamespaces) {
    return Refuse(MoreThan(XmlDocument::MaxNamespaces, "name spaces at a time"));
  }
  if (keepsTree_ && static_cast<std::size_t>(xmlDictSize(parser_->dict)) > XmlDocument::MaxNames) {
    return Refuse(MoreThan(XmlDocument::MaxNames, "different names"));
  }
  return !keepsTree_ || Count(Part::Other, 1 + 2 * attributes);
}

void XmlGuard::LeaveElement() {
  inText_ = false;
  if (!namespaces_.empty()) namespaces_.pop_back();
}

/// The parser that calls may be that of an entity, which does not end with the document's.
bool XmlGuard::Stopped(void* context) const {
  if (refused_) xmlStopParser(static_cast<xmlParserCtxt*>(context));
  return refused_;
}

void XmlGuard::OnStart(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri,
                       int namespaceCount, const xmlChar** namespaces, int attributeCount, int defaultedCount,
                       const xmlChar** attributes) {
  XmlGuard& guard = Of(context);
  guard.EnterElement(namespaceCount, attributeCount);
  if (guard.Stopped(context) || !guard.keepsTree_) return;
  xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, attributeCount,
                        defaultedCount, attributes);
}

void XmlGuard::OnEnd(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri) {
  XmlGuard& guard = Of(context);
  if (guard.Stopped(context)) return;
  guard.LeaveElement();
  if (guard.keepsTree_) xmlSAX2EndElementNs(context, name, prefix, uri);
}

void XmlGuard::OnText(void* context, const xmlChar* text, int length) {
  Of(context).Count(Part::Text);
  if (!Of(context).Stopped(context)) xmlSAX2Characters(context, text, length);
}

void XmlGuard::OnCdata(void* context, const xmlChar* text, int length) {
  Of(context).Count(Part::Other);
  if (!Of(context).Stopped(context)) xmlSAX2CDataBlock(context, text, length);
}

void XmlGuard::OnComment(void* context, const xmlChar* text) {
  Of(context).Count(Part::Other);
  if (!Of(context).Stopped(context)) xmlSAX2Comment(context, text);
}

void XmlGuard::OnInstruction(void* context, const xmlChar* target, const xmlChar* data) {
  Of(context).Count(Part::Other);
  if (!Of(context).Stopped(context)) xmlSAX2ProcessingInstruction(context, target, data);
}

xmlEntity* XmlGuard::OnEntity(void* context, const xmlChar* name) {
  xmlEntity* const entity = xmlSAX2GetEntity(context, name);
  if (entity != nullptr) Of(context).CountUse(*entity);
  return Of(context).Stopped(context) ? nullptr : entity;
}

xmlEntity* XmlGuard::OnParameterEntity(void* context, const xmlChar* name) {
  xmlEntity* const entity = xmlSAX2GetParameterEntity(context, name);
  if (entity != nullptr) Of(context).CountUse(*entity);
  return Of(context).Stopped(context) ? nullptr : entity;
}

/// An entity that lies outside the document is not declared at all, so that a reference to it is an error
/// instead of a file that is opened. The tags in an entity are never held back.
void XmlGuard::OnEntityDeclaration(void* context, const xmlChar* name, int type, const xmlChar* publicId,
                                   const xmlChar* systemId, xmlChar* content) {
  XmlGuard& guard = Of(context);
  guard.CountDeclaration();
  if (type != XML_INTERNAL_GENERAL_ENTITY && type != XML_INTERNAL_PARAMETER_ENTITY) return;
  if (HasCrowdedStretch(FromXml(content))) {
    guard.Refuse(MoreThan(XmlDocument::MaxAttributes, "attributes in one tag"));
  }
  if (!guard.Stopped(context)) xmlSAX2EntityDecl(context, name, type, publicId, systemId, content);
}

void XmlGuard::OnAttributeDeclaration(void* context, const xmlChar* element, const xmlChar* name, int type,
                                      int kind, const xmlChar* value, xmlEnumeration* choices) {
  Of(context).CountDeclaration();
  if (Of(context).Stopped(context)) {
    xmlFreeEnumeration(choices);
  } else {
    xmlSAX2AttributeDecl(context, element, name, type, kind, value, choices);
  }
}

void XmlGuard::OnElementDeclaration(void* context, const xmlChar* name, int type,
                                    xmlElementContent* content) {
  Of(context).CountDeclaration();
  if (!Of(context).Stopped(context)) xmlSAX2ElementDecl(context, name, type, content);
}

void XmlGuard::OnNotation(void* context, const xmlChar* name, const xmlChar* publicId,
                          const xmlChar* systemId) {
  Of(context).CountDeclaration();
  if (!Of(context).Stopped(context)) xmlSAX2NotationDecl(context, name, publicId, systemId);
}

void XmlGuard::OnUnparsedEntity(void* context, const xmlChar* name, const xmlChar* publicId,
                                const xmlChar* systemId, const xmlChar* notation) {
  Of(context).CountDeclaration();
  if (!Of(context).Stopped(context)) {
    xmlSAX2UnparsedEntityDecl(context, name, publicId, systemId, notation);
  }
}

}  // namespace fieldpost
