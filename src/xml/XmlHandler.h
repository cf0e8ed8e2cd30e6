// The events of reading an XML document.
#pragma once

#include <span>
#include <string_view>

namespace fieldpost {

/// A namespace declaration, `xmlns:prefix="uri"`. The default namespace has no prefix; an empty URI ends it.
struct XmlNamespace {
  std::string_view prefix;
  std::string_view uri;
};

/// An attribute with its value: references replaced, white space normalised.
struct XmlAttribute {
  std::string_view prefix;  ///< empty when there is none, and when names are read as written
  std::string_view name;
  std::string_view value;
};

/// The start tag of an element. All views are valid only during the call of StartElement.
struct XmlStartTag {
  std::string_view prefix;  ///< empty when there is none, and when names are read as written
  std::string_view name;
  std::span<const XmlAttribute> attributes;  ///< those that the document type adds come last
  std::span<const XmlNamespace> namespaces;  ///< declared by this tag; empty when names are read as written
};

/// Receives the events of XmlStreamReader in document order, in UTF-8. A handler overrides the functions that
/// it needs. It may throw, which ends the reading; the reader's caller gets the exception.
class XmlHandler {
 public:
  XmlHandler() = default;
  XmlHandler(const XmlHandler&) = delete;
  XmlHandler& operator=(const XmlHandler&) = delete;
  virtual ~XmlHandler() = default;

  virtual void StartElement(const XmlStartTag& /*tag*/) {}

  /// Closes the innermost open element.
  virtual void EndElement() {}

  /// The next part of a text, of whole characters. Long texts come in several parts.
  virtual void Text(std::string_view /*part*/) {}

  /// The next part of a CDATA section; by default it is text.
  virtual void Cdata(std::string_view part) { Text(part); }

  virtual void Comment() {}
  virtual void ProcessingInstruction() {}

  /// Called before the document type changes the document: an entity other than the five predefined ones is
  /// about to be replaced, or an attribute was declared with a default value.
  virtual void DocumentTypeUse() {}
};

}  // namespace fieldpost
