// Reads XML as a stream of events, within limits: the only place where the program parses XML.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "xml/NamespaceScopes.h"
#include "xml/XmlHandler.h"
#include "xml/XmlUnclosedTag.h"
#include "xml/XmlUsage.h"

struct _xmlDoc;         // NOLINT(bugprone-reserved-identifier): libxml2's own names
struct _xmlEntity;      // NOLINT(bugprone-reserved-identifier)
struct _xmlError;       // NOLINT(bugprone-reserved-identifier)
struct _xmlParserCtxt;  // NOLINT(bugprone-reserved-identifier)

namespace fieldpost {

/// Frees libxml2's tree of a document.
struct FreeLibXmlTree {
  void operator()(_xmlDoc* tree) const;
};
using LibXmlTree = std::unique_ptr<_xmlDoc, FreeLibXmlTree>;

/// Options of XmlStreamReader.
struct XmlReadOptions {
  enum class Encoding {
    Declared,  ///< bytes in the encoding that the document declares
    Utf8,      ///< UTF-8, whatever the document declares, so that Position() is a position in the text
  };
  enum class Names {
    Resolved,   ///< split into prefix and local name; libxml2 checks the namespaces
    AsWritten,  ///< with the prefix; namespace declarations are among the attributes. The time for an element
                ///< does not grow with the number of namespaces, so they need no limit. Errors have no
                ///< reason, and zero bytes are not ignored
  };

  XmlLimits limits = {};
  Encoding encoding = Encoding::Declared;
  Names names = Names::Resolved;
  // Events that a handler ignores can be switched off, which saves up to a tenth of the time:
  bool texts = true;       ///< false: neither Text nor Cdata is called
  bool attributes = true;  ///< false: start tags come without attributes; only for Names::Resolved
};

/// Reads one document in pieces, in linear time and in memory that does not grow with it. Refuses what is not
/// well-formed (XML 1.0, fifth edition, and Namespaces in XML 1.0) or exceeds a limit. Entities declared in
/// the document are replaced; nothing outside it is ever opened. Zero bytes after the root element, with
/// which some devices fill up a file, are ignored.
class XmlStreamReader {
 public:
  /// Calls `handler`, which must outlive the reader.
  explicit XmlStreamReader(XmlHandler& handler, const XmlReadOptions& options = {});

  /// Builds libxml2's tree of the document instead of calling a handler.
  explicit XmlStreamReader(const XmlLimits& limits);

  XmlStreamReader(const XmlStreamReader&) = delete;
  XmlStreamReader& operator=(const XmlStreamReader&) = delete;
  ~XmlStreamReader();

  /// Reads the next bytes of the document, cut anywhere. Throws XmlError, or what the handler threw; then
  /// the reader must not be used again.
  void Feed(std::string_view bytes);

  /// Reads the last bytes and ends the document. Throws as Feed does, also when something is missing. A
  /// document that comes whole is read by libxml2's parser of whole documents, which is faster than that of
  /// pieces and without its faults: that one refuses a long XML declaration in UTF-16 and a processing
  /// instruction with one quotation mark in a document type, and keeps CR LF in CDATA sections.
  void Finish(std::string_view bytes = {});

  /// Returns how many of the bytes fed have been parsed. In a handler call: the end of an end tag, or a place
  /// between the "<" and ">" of a start tag. Only for Encoding::Utf8.
  [[nodiscard]] std::uint64_t Position() const;

  /// Transfers the tree to the caller. Once, after Finish.
  [[nodiscard]] LibXmlTree TakeTree();

 private:
  struct Callbacks;  // libxml2's
  struct FreeParser {
    void operator()(_xmlParserCtxt* parser) const;
  };
  XmlStreamReader(XmlHandler* handler, const XmlReadOptions& options);

  void SetCallbacks();
  [[noreturn]] void Refuse(std::string_view reason) const;
  void RefuseIf(std::string_view reason) const;
  void Stop(void* context);
  void HandleError(const _xmlError& error, void* context);
  [[nodiscard]] std::size_t PieceSize(std::string_view bytes) const;
  void ParsePiece(std::string_view piece, bool isLast);
  void ParseWhole(std::string_view bytes);
  [[nodiscard]] bool MayParseWhole(std::string_view bytes) const;
  void CheckParsed(bool isWhole) const;
  void CheckNames() const;
  void CheckPadding(std::string_view bytes) const;
  void CheckUnclosedTag();

  void EnterAsWritten(std::string_view name);
  [[nodiscard]] bool HasKnownPrefix(std::string_view name) const;
  void AddDefaults(std::string_view element);
  void CountUse(const _xmlEntity& entity);

  XmlHandler* handler_;  // null: a tree is built
  XmlReadOptions options_;
  std::unique_ptr<_xmlParserCtxt, FreeParser> parser_;
  std::exception_ptr failure_;  // nothing may be thrown through libxml2
  bool padded_ = false;         // zero bytes follow the root element
  std::uint64_t fed_ = 0;
  XmlUsage usage_;
  XmlUnclosedTag unclosed_;
  bool inText_ = false;

  std::vector<XmlAttribute> attributes_;  // of the current start tag
  std::vector<XmlNamespace> namespaces_;
  // For names as written:
  NamespaceScopes scopes_;
  std::unordered_map<std::string, std::vector<std::pair<std::string, std::string>>> defaults_;  // by element
};

}  // namespace fieldpost
