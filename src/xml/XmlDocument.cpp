#include "xml/XmlDocument.h"

#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include "common/Limits.h"
#include "common/Text.h"
#include "xml/LibXml.h"
#include "xml/QuietLibXml.h"
#include "xml/XmlEncoding.h"
#include "xml/XmlError.h"

namespace fieldpost {
namespace {

struct FreeText {
  void operator()(xmlChar* text) const { xmlFree(text); }
};
using XmlText = std::unique_ptr<xmlChar, FreeText>;

/// Limits of a combined document: it has the names of all its files, and its root has a `Mode` in addition.
constexpr XmlLimits CombinedLimits = {
    .depth = XmlLimits::Unlimited, .attributes = MaxXmlAttributes + 1, .names = XmlLimits::Unlimited};

const xmlChar* ToXml(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

/// Keeps the attributes of the root element that have no prefix.
struct RootAttributes final : XmlHandler {
  void StartElement(const XmlStartTag& tag) override {
    if (std::exchange(wasRead, true)) return;
    for (const XmlAttribute& one : tag.attributes) {
      if (one.prefix.empty()) values.emplace(one.name, one.value);
    }
  }

  bool wasRead = false;
  std::map<std::string, std::string, std::less<>> values;
};

/// Returns the next node in document order. Updates `depth`, which is relative to the first node and becomes
/// negative above it.
xmlNode* NextInDocument(xmlNode* node, std::ptrdiff_t& depth) {
  if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
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

/// Whether `node` is an element without a prefix and with one of these names; sets `place` to the index of
/// the name.
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

/// libxml2 writes namespace names without escaping them, so they are escaped in its tree. The parser accepts
/// nothing but URIs, in which only "&" has to be escaped.
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
    xmlNewNs(node, (*ns)->href, (*ns)->prefix);  // does nothing where the element declares the prefix
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

bool XmlElement::Contains(std::span<const std::string_view> names) const {
  std::size_t place = 0;
  std::ptrdiff_t depth = 1;
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
  const QuietLibXml quiet;
  DeclareNamespacesFromAbove(node_);
  std::string result;
  AppendNode(node_, result);
  return result;
}

bool XmlDocument::Load(std::string_view bytes, const XmlLimits& limits) {
  document_.reset();
  reason_.clear();
  try {
    if (bytes.empty()) throw XmlError("the file is empty");
    XmlStreamReader reader(limits);
    reader.Finish(bytes);
    document_ = reader.TakeTree();
    Tidy(limits.depth);
    ChooseEncoding();
    return true;
  } catch (const XmlError& error) {
    document_.reset();
    reason_ = error.what();
    return false;
  }
}

/// Removes blank texts and escapes the namespace names. Checks the depth again, because libxml2 copies an
/// entity's elements into the tree.
void XmlDocument::Tidy(std::size_t maxDepth) {
  std::ptrdiff_t depth = 1;
  for (xmlNode* node = xmlDocGetRootElement(document_.get()); node != nullptr;) {
    if (std::cmp_greater(depth, maxDepth)) {
      throw XmlError(fmt::format("nested deeper than {} levels", maxDepth));
    }
    if (node->type == XML_ELEMENT_NODE) EscapeNamespaces(*node);
    xmlNode* const blank = IsBlankText(node) ? node : nullptr;
    node = NextInDocument(node, depth);
    if (blank == nullptr) continue;
    xmlUnlinkNode(blank);
    xmlFreeNode(blank);
  }
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
  std::ptrdiff_t depth = 1;
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
  const QuietLibXml quiet;
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
  XmlHandler ignoresAll;
  XmlStreamReader reader(ignoresAll, {.limits = CombinedLimits, .texts = false, .attributes = false});
  try {
    reader.Finish(bytes);
    return true;
  } catch (const XmlError&) {
    return false;
  }
}

std::optional<std::string> RootAttribute(std::string_view bytes, std::string_view name) {
  constexpr std::size_t pieceBytes = 1024;
  RootAttributes root;
  XmlStreamReader reader(root, {.limits = CombinedLimits, .texts = false});
  try {
    for (; !root.wasRead && !bytes.empty(); bytes.remove_prefix(std::min(pieceBytes, bytes.size()))) {
      reader.Feed(bytes.substr(0, pieceBytes));
    }
  } catch (const XmlError&) {
    // What follows the root's start tag does not matter.
  }
  const auto value = root.values.find(name);
  return value == root.values.end() ? std::nullopt : std::optional(value->second);
}

}  // namespace fieldpost
