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

/// How XmlStreamReader reads, where not all uses need the same.
struct XmlReadOptions {
  enum class Encoding {
    Declared,  ///< bytes in the encoding that the document declares
    Utf8,      ///< UTF-8, whatever the document declares, so that Position() is a place in the text
  };
  enum class Names {
    Resolved,   ///< split into prefix and local name; namespaces as libxml2 checks them
    AsWritten,  ///< with the prefix, declarations among the attributes: the document as its reader sees it.
                ///< The time for an element does not grow with the number of namespaces, so they need no
                ///< limit. Errors have no reason, and zero bytes are not ignored
  };

  XmlLimits limits = {};
  Encoding encoding = Encoding::Declared;
  Names names = Names::Resolved;
  // What a handler does not look at need not be prepared for it, which saves up to a tenth of the time:
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

  /// Builds libxml2's tree of the document instead of calling a handler; white space between elements is left
  /// out where libxml2 can tell.
  explicit XmlStreamReader(const XmlLimits& limits);

  XmlStreamReader(const XmlStreamReader&) = delete;
  XmlStreamReader& operator=(const XmlStreamReader&) = delete;
  ~XmlStreamReader();

  /// Reads the next bytes of the document, cut anywhere. Throws XmlError, or what the handler threw; then
  /// the reader must not be used again.
  void Feed(std::string_view bytes);

  /// Reads the last bytes and ends the document. Throws as Feed does, also when something is missing. Faster
  /// than Feed with all and Finish with none, as the parser need not look for the ends of tags first.
  void Finish(std::string_view bytes = {});

  /// How many bytes were fed that are parsed. Within a call of the handler: up to the end of an end tag, or
  /// to a place after the start tag's "<" and before its ">". Only for Encoding::Utf8.
  [[nodiscard]] std::uint64_t Position() const;

  /// Hands the tree over to the caller, who frees it. Once, after Finish.
  [[nodiscard]] _xmlDoc* TakeTree();

 private:
  struct Callbacks;  // libxml2's
  struct FreeParser {
    void operator()(_xmlParserCtxt* parser) const;
  };
  XmlStreamReader(XmlHandler* handler, const XmlReadOptions& options);

  [[noreturn]] void Refuse(std::string_view reason) const;
  void RefuseIf(std::string_view reason) const;
  void Stop(void* context);
  void Note(const _xmlError& error, void* context);
  [[nodiscard]] std::size_t PieceSize(std::string_view bytes) const;
  void Parse(std::string_view piece, bool isLast);
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

  std::vector<XmlAttribute> attributes_;  // of the tag that is handed over
  std::vector<XmlNamespace> namespaces_;
  // For names as written:
  NamespaceScopes scopes_;
  std::unordered_map<std::string, std::vector<std::pair<std::string, std::string>>> defaults_;  // by element
};

}  // namespace fieldpost
