#include "xml/XmlDocument.h"

#include <libxml/tree.h>
#include <libxml/xmlreader.h>
#include <libxml/xmlsave.h>

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "common/Text.h"
#include "xml/LibXml.h"
#include "xml/XmlGuard.h"
#include "xml/XmlOutputEncoding.h"

namespace fieldpost {
namespace {

struct FreeText {
  void operator()(xmlChar* text) const { xmlFree(text); }
};
struct FreeReader {
  void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
};
using XmlText = std::unique_ptr<xmlChar, FreeText>;

const xmlChar* ToXml(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

bool FitsParser(std::string_view bytes) {
  return !bytes.empty() && bytes.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max());
}

/// The node after `node` in document order, without what is in `node` when `skipChildren`.
xmlNode* NextInDocument(xmlNode* node, int& depth, bool skipChildren = false) {
  if (!skipChildren && node->type == XML_ELEMENT_NODE && node->children != nullptr) {
    ++depth;
    return node->children;
  }
  while (node != nullptr && node->next == nullptr) {
    node = node->parent;
    --depth;
    if (node == nullptr || node->type != XML_ELEMENT_NODE) return nullptr;
  }
  return node == nullptr ? nullptr : node->next;
}

/// Whether `node` is an element of one of these names without a prefix; which one goes to `place`.
bool IsNamed(const xmlNode* node, std::span<const std::string_view> names, std::size_t& place) {
  if (node->type != XML_ELEMENT_NODE) return false;
  if (node->ns != nullptr && node->ns->prefix != nullptr) return false;
  place =
      static_cast<std::size_t>(std::find(names.begin(), names.end(), FromXml(node->name)) - names.begin());
  return place < names.size();
}

bool IsBlankText(const xmlNode* node) {
  return node->type == XML_TEXT_NODE && xmlIsBlankNode(node) == 1 &&
         xmlNodeGetSpacePreserve(node->parent) != 1;
}

/// libxml2 writes the names of name spaces as they stand in its tree, so they stand there as they are to be
/// written. Of what has to be escaped, a URI may hold the "&" alone, and the parser takes nothing but URIs.
void EscapeNamespaces(const xmlNode& element) {
  for (xmlNs* one = element.nsDef; one != nullptr; one = one->next) {
    if (FromXml(one->href).find('&') == std::string_view::npos) continue;
    xmlChar* const escaped = xmlStrdup(ToXml(Replaced(FromXml(one->href), "&", "&amp;")));
    if (escaped == nullptr) throw std::bad_alloc();
    xmlFree(const_cast<xmlChar*>(std::exchange(one->href, escaped)));
  }
}

int AppendToString(void* target, const char* bytes, int count) {
  static_cast<std::string*>(target)->append(bytes, static_cast<std::size_t>(count));
  return count;
}

int CloseNothing(void*) {
  return 0;
}

void AppendNode(xmlNode* node, std::string& target) {
  xmlOutputBuffer* const buffer = xmlOutputBufferCreateIO(AppendToString, CloseNothing, &target, nullptr);
  if (buffer == nullptr) throw std::bad_alloc();
  xmlNodeDumpOutput(buffer, node->doc, node, 0, 0, "UTF-8");
  if (xmlOutputBufferClose(buffer) < 0) throw std::bad_alloc();
}

void DeclareNamespacesFromAbove(xmlNode* node) {
  if (node->parent == nullptr || node->parent->type != XML_ELEMENT_NODE) return;
  xmlNs** const inScope = xmlGetNsList(node->doc, node);
  if (inScope == nullptr) return;
  for (xmlNs** ns = inScope; *ns != nullptr; ++ns) {
    xmlNewNs(node, (*ns)->href, (*ns)->prefix);  // leaves alone what the element itself declares
  }
  xmlFree(inScope);
}

}  // namespace

std::string XmlElement::Text() const {
  const xmlNode* const only = node_->children;
  if (only != nullptr && only->next == nullptr && only->type == XML_TEXT_NODE) {
    return std::string(Trimmed(FromXml(only->content)));
  }
  const XmlText content(xmlNodeGetContent(node_));
  return std::string(Trimmed(FromXml(content.get())));
}

bool XmlElement::Holds(std::span<const std::string_view> names) const {
  std::size_t place = 0;
  int depth = 1;
  for (xmlNode* node = node_->children; node != nullptr && depth > 0; node = NextInDocument(node, depth)) {
    if (IsNamed(node, names, place)) return true;
  }
  return false;
}

void XmlElement::SetText(std::string_view text) {
  while (node_->children != nullptr) {
    xmlNode* const child = node_->children;
    xmlUnlinkNode(child);
    xmlFreeNode(child);
  }
  if (text.empty()) return;
  xmlAddChild(node_, xmlNewDocText(node_->doc, ToXml(std::string(text))));
}

std::optional<std::string> XmlElement::Attribute(std::string_view name) const {
  const XmlText value(xmlGetNoNsProp(node_, ToXml(std::string(name))));
  if (!value) return std::nullopt;
  return std::string(FromXml(value.get()));
}

void XmlElement::SetAttribute(std::string_view name, std::string_view value) {
  xmlSetNsProp(node_, nullptr, ToXml(std::string(name)), ToXml(std::string(value)));
}

void XmlElement::SetFirstAttribute(std::string_view value) {
  if (node_->properties == nullptr) return;
  xmlSetNsProp(node_, node_->properties->ns, node_->properties->name, ToXml(std::string(value)));
}

void XmlElement::AppendCopyOf(const XmlElement& element) {
  xmlNode* const copy = xmlDocCopyNode(element.node_, node_->doc, 1);
  if (copy == nullptr) throw std::bad_alloc();
  xmlAddChild(node_, copy);
}

std::string XmlElement::Xml() const {
  DeclareNamespacesFromAbove(node_);
  std::string result;
  AppendNode(node_, result);
  return result;
}

void XmlDocument::Free::operator()(_xmlDoc* document) const {
  xmlFreeDoc(document);
}

bool XmlDocument::Load(std::string_view bytes) {
  return Load(bytes, Bounds{});
}

bool XmlDocument::Load(std::string_view bytes, const Bounds& bounds) {
  document_.reset();
  reason_.clear();
  XmlGuard guard(XmlGuard::Keep::Tree, bounds, reason_);
  const bool parsed = guard.Parse(bytes);
  document_.reset(guard.TakeTree());
  if (parsed && Tidy(bounds.depth)) {
    ChooseEncoding();
    return true;
  }
  if (reason_.empty()) reason_ = "not well-formed";
  document_.reset();
  return false;
}

bool XmlDocument::Tidy(int maxDepth) {
  xmlNode* node = xmlDocGetRootElement(document_.get());
  for (int depth = 1; node != nullptr;) {
    if (depth > maxDepth) {
      reason_ = fmt::format("nested deeper than {} levels", maxDepth);
      return false;
    }
    if (node->type == XML_ENTITY_REF_NODE) {
      reason_ = fmt::format("line {}: entity \"{}\" is not declared in the file", xmlGetLineNo(node),
                            EscapeControls(FromXml(node->name)));
      return false;
    }
    if (node->type == XML_ELEMENT_NODE) EscapeNamespaces(*node);
    xmlNode* const blank = IsBlankText(node) ? node : nullptr;
    node = NextInDocument(node, depth);
    if (blank == nullptr) continue;
    xmlUnlinkNode(blank);
    xmlFreeNode(blank);
  }
  return true;
}

void XmlDocument::ChooseEncoding() {
  if (IsUtf8() || CanHoldAnyText(std::string(FromXml(document_->encoding)))) return;
  xmlFree(const_cast<xmlChar*>(std::exchange(document_->encoding, xmlCharStrdup("UTF-8"))));
}

bool XmlDocument::IsUtf8() const {
  const std::string_view encoding = FromXml(document_->encoding);
  return encoding.empty() || EqualNoCase(encoding, "utf-8");
}

XmlElement XmlDocument::Root() const {
  return XmlElement(xmlDocGetRootElement(document_.get()));
}

std::vector<XmlElement> XmlDocument::ElementsByTagName(std::string_view name) const {
  return std::move(ElementsByTagNames({name}).front());
}

std::vector<std::vector<XmlElement>> XmlDocument::ElementsByTagNames(
    const std::vector<std::string_view>& names) const {
  std::vector<std::vector<XmlElement>> found(names.size());
  int depth = 1;
  for (xmlNode* node = xmlDocGetRootElement(document_.get()); node != nullptr;
       node = NextInDocument(node, depth)) {
    std::size_t place = 0;
    if (IsNamed(node, names, place)) found[place].emplace_back(node);
  }
  return found;
}

std::string XmlDocument::Xml() const {
  return IsUtf8() ? Xml(Root().Xml()) : Xml({});
}

std::string XmlDocument::Xml(std::string_view rootXml) const {
  std::string result;
  if (!IsUtf8()) {
    const char* const encoding = reinterpret_cast<const char*>(document_->encoding);
    xmlSaveCtxt* const save = xmlSaveToIO(AppendToString, CloseNothing, &result, encoding, 0);
    if (save == nullptr) throw std::bad_alloc();
    xmlSaveDoc(save, document_.get());
    if (xmlSaveClose(save) < 0) throw std::bad_alloc();
    return result;
  }
  const xmlNode* const root = xmlDocGetRootElement(document_.get());
  result.reserve(rootXml.size() + 128);
  result += fmt::format("<?xml version=\"{}\"{}{}?>\n", FromXml(document_->version),
                        document_->encoding == nullptr ? "" : " encoding=\"UTF-8\"",
                        document_->standalone == 1 ? " standalone=\"yes\"" : "");
  for (xmlNode* node = document_->children; node != nullptr; node = node->next) {
    if (node == root) {
      result += rootXml;
    } else {
      AppendNode(node, result);
    }
    result += '\n';
  }
  return result;
}

bool IsWellFormedXml(std::string_view bytes) {
  std::string reason;
  return XmlGuard(XmlGuard::Keep::Nothing, {}, reason).Parse(bytes);
}

std::optional<std::string> RootAttribute(std::string_view bytes, std::string_view name) {
  if (!FitsParser(bytes)) return std::nullopt;
  const std::unique_ptr<xmlTextReader, FreeReader> reader(
      xmlReaderForMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr,
                         XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  if (!reader) return std::nullopt;
  while (xmlTextReaderRead(reader.get()) == 1) {
    if (xmlTextReaderNodeType(reader.get()) != XML_READER_TYPE_ELEMENT) continue;
    const XmlText value(xmlTextReaderGetAttribute(reader.get(), ToXml(std::string(name))));
    if (!value) return std::nullopt;
    return std::string(FromXml(value.get()));
  }
  return std::nullopt;
}

}  // namespace fieldpost
