// An XML document in memory.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "xml/XmlStreamReader.h"

struct _xmlDoc;   // NOLINT(bugprone-reserved-identifier): libxml2's own names
struct _xmlNode;  // NOLINT(bugprone-reserved-identifier)

namespace fieldpost {

/// Refers to one element of a document; valid as long as the document is.
class XmlElement {
 public:
  explicit XmlElement(_xmlNode* node) : node_(node) {}

  /// Returns the text of the element and of those within it: references replaced, white space trimmed.
  [[nodiscard]] std::string Text() const;

  /// Whether the element contains an element of one of these names without a prefix, at any depth.
  [[nodiscard]] bool Contains(std::span<const std::string_view> names) const;

  /// Replaces the content by a text. Elements within it must not be used any more.
  void SetText(std::string_view text);

  /// Returns the value of an attribute without a prefix; nothing when it is missing.
  [[nodiscard]] std::optional<std::string> Attribute(std::string_view name) const;

  /// Sets or adds an attribute without a prefix.
  void SetAttribute(std::string_view name, std::string_view value);

  /// Sets the first attribute. Does nothing when the element has none.
  void SetFirstAttribute(std::string_view value);

  /// Appends a copy of an element, which may belong to another document, with all within it.
  void AppendCopyOf(const XmlElement& element);

  /// Returns the element as XML in UTF-8 that is well-formed on its own: namespaces declared above it are
  /// declared in it.
  [[nodiscard]] std::string Xml() const;

  bool operator==(const XmlElement&) const = default;

 private:
  friend class XmlDocument;
  _xmlNode* node_;
};

/// Loads a document and keeps it as a tree. Text of white space alone is not kept, unless
/// xml:space="preserve"; entities are replaced; nothing outside the document is ever opened.
class XmlDocument {
 public:
  /// Loads a document from its bytes, in the encoding that they declare. False when it is not well-formed or
  /// exceeds a limit; Reason() then says why, and no document is loaded.
  [[nodiscard]] bool Load(std::string_view bytes, const XmlLimits& limits = {});

  /// Why the last Load failed, in one line.
  [[nodiscard]] const std::string& Reason() const { return reason_; }

  [[nodiscard]] bool IsLoaded() const { return document_ != nullptr; }

  /// Returns the root element. Only of a loaded document.
  [[nodiscard]] XmlElement Root() const;

  /// Returns the elements of a name, without a prefix, in document order.
  [[nodiscard]] std::vector<XmlElement> ElementsByTagName(std::string_view name) const;

  /// Returns for each name its elements, without a prefix, in document order; walks the document once.
  [[nodiscard]] std::vector<std::vector<XmlElement>> ElementsByTagNames(
      const std::vector<std::string_view>& names) const;

  /// Returns the document in the encoding that it was read in, or in UTF-8 where CanHoldAnyText() is false
  /// for that one. Characters that the encoding lacks are written as character references.
  [[nodiscard]] std::string Xml() const;

  /// Returns the same bytes as Xml(). `rootXml` is the root's Xml(), which then is not written once more.
  [[nodiscard]] std::string Xml(std::string_view rootXml) const;

 private:
  void Tidy(std::size_t maxDepth);
  void ChooseEncoding();
  [[nodiscard]] bool IsUtf8() const;

  LibXmlTree document_;
  std::string reason_;
};

/// Whether bytes are a well-formed document, without building a tree. Depth and the number of names are not
/// limited, because a combined document may exceed these limits.
[[nodiscard]] bool IsWellFormedXml(std::string_view bytes);

/// Returns an attribute, without a prefix, of the root element of a document that begins with `bytes`.
/// Nothing when the root lacks it or its start tag does not end within `bytes`.
[[nodiscard]] std::optional<std::string> RootAttribute(std::string_view bytes, std::string_view name);

}  // namespace fieldpost
