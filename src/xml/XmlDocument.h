// An XML document in memory.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct _xmlDoc;   // NOLINT(bugprone-reserved-identifier): libxml2's own names
struct _xmlNode;  // NOLINT(bugprone-reserved-identifier)

namespace fieldpost {

/// One element of a document; lives as long as its document does and stays in its tree.
class XmlElement {
 public:
  explicit XmlElement(_xmlNode* node) : node_(node) {}

  /// Its text and that of the elements in it: entities resolved, white space at both ends off.
  [[nodiscard]] std::string Text() const;

  /// Whether an element of one of these names is in it, at any depth.
  [[nodiscard]] bool Holds(std::span<const std::string_view> names) const;

  /// Replaces all that is in it by a text. Elements that were in it must not be used any more.
  void SetText(std::string_view text);

  [[nodiscard]] std::optional<std::string> Attribute(std::string_view name) const;
  void SetAttribute(std::string_view name, std::string_view value);

  /// Gives the attribute that comes first a text. Without any attribute nothing changes.
  void SetFirstAttribute(std::string_view value);

  /// Appends a copy of an element, which may belong to another document.
  void AppendCopyOf(const XmlElement& element);

  /// The element as XML text in UTF-8 that can be read on its own: the name spaces declared above it are
  /// declared in it.
  [[nodiscard]] std::string Xml() const;

  bool operator==(const XmlElement&) const = default;

 private:
  friend class XmlDocument;
  _xmlNode* node_;
};

/// Loads and holds a document. Text that is white space only is not kept; entities are replaced by what they
/// stand for; nothing outside the text itself is ever opened.
class XmlDocument {
 public:
  /// Deepest nesting of elements that is read. The parser's own bound is 256; what is read here must still be
  /// readable one level deeper.
  static constexpr int MaxDepth = 250;

  /// Elements, attributes (two each), texts, comments and the like, entities replaced. Each takes about 128
  /// bytes of memory.
  static constexpr std::size_t MaxNodes = 500'000;

  /// The parser takes a time that grows with the square of these.
  static constexpr std::size_t MaxAttributes = 256;  // of one element, name spaces not counted
  static constexpr std::size_t MaxNamespaces = 200;  // in force at a time
  static constexpr std::size_t MaxNames = 20'000;    // different ones
  static constexpr std::size_t MaxDeclarations = 1000;
  static constexpr std::size_t MaxEntityUses = 5000;

  /// What all entities of a document's own stand for, each time that they are used.
  static constexpr std::size_t MaxEntityBytes = std::size_t{16} * 1024 * 1024;

  /// What a document may ask that not all may ask alike.
  struct Bounds {
    int depth = MaxDepth;
    std::size_t nodes = MaxNodes;
  };

  /// Loads a document from its bytes, in whatever encoding they declare. False when it is not well-formed or
  /// beyond a bound; Reason() then tells why, and there is no document.
  bool Load(std::string_view bytes);
  bool Load(std::string_view bytes, const Bounds& bounds);

  /// Why the last Load failed, in one line.
  [[nodiscard]] const std::string& Reason() const { return reason_; }

  [[nodiscard]] bool IsLoaded() const { return document_ != nullptr; }

  /// The document element. Only of a loaded document.
  [[nodiscard]] XmlElement Root() const;

  /// The elements of a name, in document order.
  [[nodiscard]] std::vector<XmlElement> ElementsByTagName(std::string_view name) const;

  /// For each name, the elements of that name, in document order; one walk over the document.
  [[nodiscard]] std::vector<std::vector<XmlElement>> ElementsByTagNames(
      const std::vector<std::string_view>& names) const;

  /// The document as text in the encoding that it was read in, or in UTF-8 where that one cannot hold any
  /// text; characters which the encoding lacks are written as character references.
  [[nodiscard]] std::string Xml() const;

  /// The same, for a caller who has the root's Xml() in hand already.
  [[nodiscard]] std::string Xml(std::string_view rootXml) const;

 private:
  struct Free {
    void operator()(_xmlDoc* document) const;
  };

  bool Tidy(int maxDepth);
  void ChooseEncoding();
  [[nodiscard]] bool IsUtf8() const;

  std::unique_ptr<_xmlDoc, Free> document_;
  std::string reason_;
};

/// Whether bytes are a well-formed document, without keeping it in memory. What XmlDocument::Load refuses for
/// its depth may pass here.
bool IsWellFormedXml(std::string_view bytes);

/// The value of an attribute of the root element of a document of which `bytes` is the beginning. Empty when
/// the root has none, or is not within these bytes.
std::optional<std::string> RootAttribute(std::string_view bytes, std::string_view name);

}  // namespace fieldpost
