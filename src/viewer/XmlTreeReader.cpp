#include "viewer/XmlTreeReader.h"

#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <exception>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "viewer/XmlPrefixes.h"
#include "viewer/XmlText.h"
#include "xml/LibXml.h"
#include "xml/Utf8Source.h"

namespace fieldpost {
namespace {

std::string UpperAscii(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

using Attributes = std::vector<std::pair<std::string_view, std::string_view>>;

Attributes FromPairs(const xmlChar** pairs) {
  Attributes result;
  for (; pairs != nullptr && *pairs != nullptr; pairs += 2) {
    result.emplace_back(FromXml(pairs[0]), FromXml(pairs[1]));
  }
  return result;
}

bool Holds(const Attributes& attributes, std::string_view name) {
  return std::any_of(attributes.begin(), attributes.end(),
                     [&](const auto& one) { return one.first == name; });
}

}  // namespace

/// One pass over a file. The parser is asked for names as they stand, so that name spaces are checked here:
/// its own way would look through all that are in force at each element. What its calls meet is noted in
/// `failed_`: nothing may be thrown through it.
class XmlTreeReader::Parser {
 public:
  Parser(XmlTree& tree, std::unique_ptr<FileReader> file)
      : tree_(tree), text_(tree), source_(std::move(file)) {
    xmlSAXHandler handler = Handler();
    parser_.reset(xmlCreatePushParserCtxt(&handler, this, nullptr, 0, nullptr));
    if (!parser_) throw std::bad_alloc();
    xmlCtxtUseOptions(parser_.get(), XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_IGNORE_ENC);
    // The text comes as UTF-8, whatever its first bytes look like.
    parser_->charset = XML_CHAR_ENCODING_UTF8;
    xmlDictSetLimit(parser_->dict, 0);
  }

  /// Reads one piece of the file. False at its end. Pieces are small, since the parser takes a while for each
  /// when the file has very many different names.
  bool ReadPiece() {
    constexpr std::size_t pieceBytes = 8192;
    if (unread_.empty()) unread_ = source_.Next();
    const std::string_view piece = unread_.substr(0, pieceBytes);
    unread_.remove_prefix(piece.size());
    xmlParseChunk(parser_.get(), piece.data(), static_cast<int>(piece.size()), piece.empty() ? 1 : 0);
    RefuseExcess(piece);
    return !piece.empty();
  }

  [[nodiscard]] std::uint64_t BytesRead() const { return fed_; }

  [[nodiscard]] bool IsWellFormed() const { return !failed_ && parser_->wellFormed == 1; }

 private:
  static xmlSAXHandler Handler() {
    xmlSAXHandler handler{};
    // Not the magic number, with which names would come in parts. Its complaints go nowhere.
    handler.initialized = 1;
    handler.startElement = &Parser::OnStart;
    handler.endElement = &Parser::OnEnd;
    handler.characters = &Parser::OnText;
    handler.ignorableWhitespace = &Parser::OnText;
    handler.cdataBlock = &Parser::OnCdata;
    handler.comment = &Parser::OnComment;
    handler.processingInstruction = &Parser::OnInstruction;
    handler.internalSubset = &Parser::OnDocumentType;
    handler.entityDecl = &Parser::OnEntityDeclaration;
    handler.attributeDecl = &Parser::OnAttributeDeclaration;
    handler.getEntity = &Parser::OnEntity;
    handler.getParameterEntity = &Parser::OnParameterEntity;
    handler.reference = &Parser::OnUnresolved;
    return handler;
  }

  /// Does a step; whatever is thrown ends the reading.
  template <class Step>
  static void Try(void* self, Step step) {
    auto* const parser = static_cast<Parser*>(self);
    if (parser->failed_) return;
    try {
      step(*parser);
    } catch (const std::exception&) {
      parser->Stop();
    }
  }

  static void OnStart(void* self, const xmlChar* name, const xmlChar** attributes) {
    Try(self, [&](Parser& parser) { parser.Start(FromXml(name), FromPairs(attributes)); });
  }

  static void OnEnd(void* self, const xmlChar*) {
    Try(self, [](Parser& parser) { parser.End(); });
  }

  static void OnText(void* self, const xmlChar* bytes, int count) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
    Try(self, [&](Parser& parser) { parser.text_.Add(text, XmlText::Kind::Plain); });
  }

  static void OnCdata(void* self, const xmlChar* bytes, int count) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
    Try(self, [&](Parser& parser) { parser.text_.Add(text, XmlText::Kind::Cdata); });
  }

  static void OnComment(void* self, const xmlChar*) { static_cast<Parser*>(self)->text_.EndText(); }

  static void OnInstruction(void* self, const xmlChar*, const xmlChar*) {
    static_cast<Parser*>(self)->text_.EndText();
  }

  static void OnDocumentType(void* self, const xmlChar* name, const xmlChar* publicId,
                             const xmlChar* systemId) {
    xmlParserCtxt* const parser = static_cast<Parser*>(self)->parser_.get();
    if (parser->myDoc == nullptr) parser->myDoc = xmlNewDoc(nullptr);
    xmlSAX2InternalSubset(parser, name, publicId, systemId);
  }

  /// An entity that lies outside the file is not declared at all, so that a reference to it is an error
  /// instead of a file that is opened.
  static void OnEntityDeclaration(void* self, const xmlChar* name, int type, const xmlChar* publicId,
                                  const xmlChar* systemId, xmlChar* content) {
    if (type != XML_INTERNAL_GENERAL_ENTITY && type != XML_INTERNAL_PARAMETER_ENTITY) return;
    xmlSAX2EntityDecl(static_cast<Parser*>(self)->parser_.get(), name, type, publicId, systemId, content);
  }

  static void OnAttributeDeclaration(void* self, const xmlChar* element, const xmlChar* name, int, int,
                                     const xmlChar* value, xmlEnumeration* choices) {
    xmlFreeEnumeration(choices);
    if (value == nullptr) return;
    Try(self, [&](Parser& parser) {
      parser.defaults_[std::string(FromXml(element))].emplace_back(FromXml(name), FromXml(value));
    });
  }

  /// The five entities that every document has never come here.
  static xmlEntity* OnEntity(void* self, const xmlChar* name) {
    auto* const parser = static_cast<Parser*>(self);
    if (parser->failed_) return nullptr;
    xmlEntity* const entity = xmlSAX2GetEntity(parser->parser_.get(), name);
    if (entity == nullptr && !parser->ReadsDocumentType()) parser->Stop();
    return parser->Counted(entity);
  }

  static xmlEntity* OnParameterEntity(void* self, const xmlChar* name) {
    auto* const parser = static_cast<Parser*>(self);
    if (parser->failed_) return nullptr;
    return parser->Counted(xmlSAX2GetParameterEntity(parser->parser_.get(), name));
  }

  static void OnUnresolved(void* self, const xmlChar*) { static_cast<Parser*>(self)->Stop(); }

  void Stop() {
    failed_ = true;
    xmlStopParser(parser_.get());
  }

  [[nodiscard]] bool ReadsDocumentType() const {
    const xmlParserInputState state = parser_->instate;
    return state == XML_PARSER_DTD || state == XML_PARSER_ENTITY_DECL || state == XML_PARSER_ENTITY_VALUE;
  }

  /// An entity is replaced each time that it is met, those in its own text as well: each time counts.
  xmlEntity* Counted(xmlEntity* entity) {
    if (entity == nullptr) return nullptr;
    return CountExpanded(static_cast<std::size_t>(std::max(entity->length, 0))) ? entity : nullptr;
  }

  bool CountExpanded(std::size_t bytes) {
    expanded_ += bytes;
    if (expanded_ > MaxExpandedBytes) Stop();
    return !failed_;
  }

  void Start(std::string_view name, Attributes attributes) {
    text_.EndText();
    AddDefaults(name, attributes);
    if (!prefixes_.Enter(name, attributes)) return Stop();
    std::string label(name);
    if (!attributes.empty()) label += ":  ";
    for (const auto& [attribute, value] : attributes) {
      label.append(UpperAscii(attribute)).append("=\"").append(value).append("\" ");
    }
    tree_.Open(label);
    const auto space = std::find_if(attributes.begin(), attributes.end(),
                                    [](const auto& one) { return one.first == "xml:space"; });
    text_.Enter(space == attributes.end() ? std::string_view() : space->second);
  }

  void AddDefaults(std::string_view element, Attributes& attributes) {
    if (defaults_.empty()) return;
    const auto found = defaults_.find(std::string(element));
    if (found == defaults_.end()) return;
    for (const auto& [name, value] : found->second) {
      if (Holds(attributes, name) || !CountExpanded(name.size() + value.size() + sizeof(xmlAttr))) continue;
      attributes.emplace_back(name, value);
    }
  }

  void End() {
    text_.EndText();
    text_.Leave();
    prefixes_.Leave();
    tree_.Close();
  }

  /// A tag is held back by the parser until it has seen the whole of it.
  void RefuseExcess(std::string_view piece) {
    if (!IsWellFormed()) return;
    fed_ += piece.size();
    const std::uint64_t held = fed_ - static_cast<std::uint64_t>(xmlByteConsumed(parser_.get()));
    if (held <= piece.size()) {
      piece.remove_prefix(piece.size() - static_cast<std::size_t>(held));
      heldBeginning_.clear();
      heldSigns_ = 0;
    }
    heldBeginning_ += piece.substr(0, 2 - std::min<std::size_t>(heldBeginning_.size(), 2));
    heldSigns_ += static_cast<std::size_t>(std::count(piece.begin(), piece.end(), '='));
    const bool isTag = heldBeginning_.starts_with('<') && heldBeginning_.find_first_of("!?") != 1;
    if (isTag && heldSigns_ > MaxAttributes) Stop();
  }

  XmlTree& tree_;
  XmlText text_;
  Utf8Source source_;
  std::string_view unread_;  // of what came from there last
  XmlParser parser_;
  XmlPrefixes prefixes_;
  std::unordered_map<std::string, std::vector<std::pair<std::string, std::string>>> defaults_;
  std::uint64_t expanded_ = 0;
  std::uint64_t fed_ = 0;      // bytes of text given to the parser
  std::string heldBeginning_;  // of what it holds back, the first two bytes
  std::size_t heldSigns_ = 0;  // how many "=" are in what it holds back
  bool failed_ = false;
};

XmlTreeReader::XmlTreeReader(XmlTree& tree, std::unique_ptr<FileReader> file)
    : tree_(tree), parser_(std::make_unique<Parser>(tree, std::move(file))) {
  tree_.Clear();
}

XmlTreeReader::~XmlTreeReader() = default;

XmlTreeReader::State XmlTreeReader::ReadSlice() {
  if (state_ != State::Reading) return state_;
  try {
    const bool more = parser_->ReadPiece();
    if (!parser_->IsWellFormed()) return Fail();
    if (!more) state_ = State::Done;
    return state_;
  } catch (const std::exception&) {
    return Fail();
  }
}

std::uint64_t XmlTreeReader::BytesRead() const {
  return parser_->BytesRead();
}

XmlTreeReader::State XmlTreeReader::Fail() {
  tree_.Clear();
  return state_ = State::Failed;
}

}  // namespace fieldpost
