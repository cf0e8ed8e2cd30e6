// What a document may ask of the XML parser, counted while it is read: the parser's own bounds come too late.
#pragma once

#include <libxml/parser.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "xml/LibXml.h"
#include "xml/XmlDocument.h"

namespace fieldpost {

/// Whether there is a stretch of bytes without a "<" that holds more "=" than a start tag may have: only
/// there can be a tag whose attributes the parser would compare with each other for minutes.
bool HasCrowdedStretch(std::string_view bytes);

/// How many "=" in a start tag, or the beginning of one, lie outside quotes: as many as it has attributes.
std::size_t CountAttributes(std::string_view tag);

/// Reads a document once. What it asks beyond the bounds of XmlDocument ends the reading; so does an entity
/// that lies outside the document, which is not declared at all.
class XmlGuard {
 public:
  enum class Keep { Tree, Nothing };

  /// `reason` takes the first complaint, in one line, and must outlive the guard.
  XmlGuard(Keep keep, const XmlDocument::Bounds& bounds, std::string& reason);
  XmlGuard(const XmlGuard&) = delete;
  XmlGuard& operator=(const XmlGuard&) = delete;

  /// Reads the document, whatever encoding it declares. False when it is not well-formed, or asks too much;
  /// `reason` may be empty all the same. Once only.
  bool Parse(std::string_view bytes);

  /// Takes the tree over; the caller frees it. A null pointer when there is none.
  xmlDoc* TakeTree();

 private:
  enum class Part { Text, Other };

  void SetHandlers(xmlSAXHandler& handler) const;
  static void SetDeclarationHandlers(xmlSAXHandler& handler);
  static XmlGuard& Of(void* context);

  static void OnError(void* context, xmlError* error);
  static void OnStart(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri,
                      int namespaceCount, const xmlChar** namespaces, int attributeCount, int defaultedCount,
                      const xmlChar** attributes);
  static void OnEnd(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri);
  static void OnText(void* context, const xmlChar* text, int length);
  static void OnCdata(void* context, const xmlChar* text, int length);
  static void OnComment(void* context, const xmlChar* text);
  static void OnInstruction(void* context, const xmlChar* target, const xmlChar* data);
  static xmlEntity* OnEntity(void* context, const xmlChar* name);
  static xmlEntity* OnParameterEntity(void* context, const xmlChar* name);
  static void OnEntityDeclaration(void* context, const xmlChar* name, int type, const xmlChar* publicId,
                                  const xmlChar* systemId, xmlChar* content);
  static void OnAttributeDeclaration(void* context, const xmlChar* element, const xmlChar* name, int type,
                                     int kind, const xmlChar* value, xmlEnumeration* choices);
  static void OnElementDeclaration(void* context, const xmlChar* name, int type, xmlElementContent* content);
  static void OnNotation(void* context, const xmlChar* name, const xmlChar* publicId,
                         const xmlChar* systemId);
  static void OnUnparsedEntity(void* context, const xmlChar* name, const xmlChar* publicId,
                               const xmlChar* systemId, const xmlChar* notation);

  bool EnterElement(int namespaceCount, int attributeCount);
  void LeaveElement();
  [[nodiscard]] bool Stopped(void* context) const;
  bool Count(Part part, std::size_t nodes = 1);
  bool CountDeclaration();
  bool CountUse(const xmlEntity& entity);
  bool Refuse(std::string_view bound);
  bool ParseWhole(std::string_view bytes);
  bool ParseInPieces(std::string_view bytes);
  bool HoldsCrowdedTag();
  bool EndsAtZeros();

  bool keepsTree_;
  XmlDocument::Bounds bounds_;
  std::string& reason_;
  XmlParser parser_;
  bool refused_ = false;
  bool inText_ = false;
  std::size_t nodes_ = 0;
  std::size_t declarations_ = 0;
  std::size_t entityUses_ = 0;
  std::size_t entityBytes_ = 0;
  std::vector<std::size_t> namespaces_;  // in force, at each open element
  // Of the tag that the parser holds back until it has seen the whole of it:
  unsigned long heldAt_ = 0;
  std::size_t heldSeen_ = 0;
  std::size_t heldSigns_ = 0;
  xmlChar heldQuote_ = 0;
};

}  // namespace fieldpost
