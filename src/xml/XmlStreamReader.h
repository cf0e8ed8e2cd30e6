// Reads XML as a stream of events, within limits: the only place where the program parses XML.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/Limits.h"
#include "xml/NamespaceScopes.h"
#include "xml/XmlHandler.h"

struct _xmlDoc;         // NOLINT(bugprone-reserved-identifier): libxml2's own names
struct _xmlEntity;      // NOLINT(bugprone-reserved-identifier)
struct _xmlError;       // NOLINT(bugprone-reserved-identifier)
struct _xmlParserCtxt;  // NOLINT(bugprone-reserved-identifier)

namespace fieldpost {

/// What a document may ask of the parser; common/Limits.h says why. Declarations and entities are limited
/// alike for all uses.
struct XmlLimits {
  static constexpr std::size_t Unlimited = std::numeric_limits<std::size_t>::max();

  std::size_t depth = MaxXmlDepth;
  std::size_t nodes = MaxXmlNodes;  ///< of a tree; a stream of events keeps none
  std::size_t attributes = MaxXmlAttributes;
  std::size_t namespaces = MaxXmlNamespaces;
  std::size_t names = MaxXmlNames;
  std::size_t tagBytes = Unlimited;  ///< of one start tag; libxml2's own limit is 10 MB
};

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
  /// The start tag that is not complete yet: the parser waits for its end and would then read its attributes
  /// in one go.
  struct UnclosedTag {
    std::uint64_t at = 0;
    std::size_t bytes = 0;
    std::size_t attributes = 0;  // "=" outside quotes
    char quote = 0;
  };

  XmlStreamReader(XmlHandler* handler, const XmlReadOptions& options);

  [[noreturn]] void Refuse(std::string_view reason) const;
  void Stop(void* context);
  void Note(const _xmlError& error, void* context);
  void Parse(std::string_view piece, bool isLast);
  void CheckPadding(std::string_view bytes) const;
  void CheckUnclosedTag();

  void Enter(std::size_t attributes, std::size_t namespaces);
  void EnterAsWritten(std::string_view name);
  [[nodiscard]] bool HasKnownPrefix(std::string_view name) const;
  void AddDefaults(std::string_view element);
  void CountNodes(std::size_t count);
  void CountDeclaration();
  void CountUse(const _xmlEntity& entity);
  void CountEntityBytes(std::size_t bytes);

  XmlHandler* handler_;  // null: a tree is built
  XmlReadOptions options_;
  std::unique_ptr<_xmlParserCtxt, FreeParser> parser_;
  std::exception_ptr failure_;  // nothing may be thrown through libxml2
  bool padded_ = false;         // zero bytes follow the root element
  std::uint64_t fed_ = 0;
  UnclosedTag unclosed_;

  std::size_t depth_ = 0;
  std::size_t nodes_ = 0;
  std::size_t declarations_ = 0;
  std::size_t entityUses_ = 0;
  std::size_t entityBytes_ = 0;
  bool inText_ = false;

  std::vector<XmlAttribute> attributes_;  // of the tag that is handed over
  std::vector<XmlNamespace> namespaces_;
  // For names as written:
  NamespaceScopes scopes_;
  std::unordered_map<std::string, std::vector<std::pair<std::string, std::string>>> defaults_;  // by element
};

}  // namespace fieldpost
