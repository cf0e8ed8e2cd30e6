#include "archive/ModeIndicator.h"

#include <libxml/SAX2.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "common/Text.h"
#include "xml/LibXml.h"
#include "xml/XmlDocument.h"

namespace fieldpost {
namespace {

constexpr std::string_view ElementName = "MODEIND";
constexpr std::size_t PieceBytes = std::size_t{64} * 1024;
constexpr std::size_t LongestText = 1000;
constexpr std::uint64_t MaxExpandedBytes = std::uint64_t{16} * 1024 * 1024;
/// The parser takes a time that grows with the square of these two.
constexpr int MaxNames = 20'000;
constexpr std::ptrdiff_t MaxAttributes = 10'000;  // of one element

constexpr int ParseOptions =
    XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_BIG_LINES;

/// One pass over one file. Entities are parsed in contexts of their own, so the parser's calls find this
/// object by what the contexts have in common.
class Pass {
 public:
  Pass() : parser_(xmlCreatePushParserCtxt(nullptr, nullptr, nullptr, 0, nullptr)) {
    if (!parser_) throw std::bad_alloc();
    parser_->_private = this;
    SetHandlers(*parser_->sax);
    xmlCtxtUseOptions(parser_.get(), ParseOptions);
  }

  /// False when there is no sense in going on.
  bool Parse(std::span<const char> piece, bool last) {
    fed_ += piece.size();
    xmlParseChunk(parser_.get(), piece.data(), static_cast<int>(piece.size()), last ? 1 : 0);
    if (xmlDictSize(parser_->dict) > MaxNames || HeldSigns() > MaxAttributes) Refuse(parser_.get());
    return !refused_ && parser_->wellFormed == 1 && parser_->nsWellFormed == 1;
  }

  [[nodiscard]] std::optional<std::string> Result() const {
    if (!found_) return std::nullopt;
    return std::string(Trimmed(text_));
  }

 private:
  static void SetHandlers(xmlSAXHandler& handler) {
    handler.startElementNs = OnStart;
    handler.endElementNs = OnEnd;
    handler.characters = OnText;
    handler.ignorableWhitespace = OnText;
    handler.cdataBlock = OnText;
    handler.reference = OnUnknownEntity;
    handler.entityDecl = OnEntityDeclaration;
    handler.comment = nullptr;
    handler.processingInstruction = nullptr;
    handler.externalSubset = nullptr;
    handler.attributeDecl = nullptr;
    handler.elementDecl = nullptr;
    handler.notationDecl = nullptr;
    handler.unparsedEntityDecl = nullptr;
  }

  static Pass& Of(void* context) {
    return *static_cast<Pass*>(static_cast<xmlParserCtxt*>(context)->_private);
  }

  static void OnStart(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar*, int,
                      const xmlChar**, int, int, const xmlChar**) {
    Pass& pass = Of(context);
    pass.Count(context, FromXml(name).size());
    if (++pass.depth_ > XmlDocument::MaxDepth) pass.Refuse(context);
    if (pass.found_ || prefix != nullptr || FromXml(name) != ElementName) return;
    pass.found_ = true;
    pass.depthInside_ = pass.depth_;
  }

  static void OnEnd(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
    Pass& pass = Of(context);
    if (pass.depth_-- == pass.depthInside_) pass.depthInside_ = 0;
  }

  static void OnText(void* context, const xmlChar* text, int length) {
    Pass& pass = Of(context);
    pass.Count(context, static_cast<std::size_t>(length));
    if (pass.depthInside_ == 0) return;
    pass.Add({reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)});
  }

  static void OnUnknownEntity(void* context, const xmlChar*) { Of(context).Refuse(context); }

  /// An entity that lies outside the document is not declared at all, so that a reference to it is an error
  /// instead of a file that is opened.
  static void OnEntityDeclaration(void* context, const xmlChar* name, int type, const xmlChar* publicId,
                                  const xmlChar* systemId, xmlChar* content) {
    if (type != XML_INTERNAL_GENERAL_ENTITY && type != XML_INTERNAL_PARAMETER_ENTITY) return;
    xmlSAX2EntityDecl(context, name, type, publicId, systemId, content);
  }

  /// More than was fed can only come from entities.
  void Count(void* context, std::size_t bytes) {
    seen_ += bytes;
    if (seen_ > 4 * fed_ + MaxExpandedBytes) Refuse(context);
  }

  void Refuse(void* context) {
    refused_ = true;
    xmlStopParser(static_cast<xmlParserCtxt*>(context));
    xmlStopParser(parser_.get());
  }

  /// What is at both ends is cut off later; what is in between counts, however long it is.
  void Add(std::string_view piece) {
    const std::size_t room = LongestText - std::min(text_.size(), LongestText);
    if (text_.empty()) piece.remove_prefix(std::min(piece.find_first_not_of(" \t\r\n"), piece.size()));
    text_.append(piece.substr(0, room));
    if (piece.size() <= room || text_.size() > LongestText) return;
    const std::string_view rest = Trimmed(piece.substr(room));
    if (!rest.empty()) text_ += rest.front();
  }

  /// How many "=" are in the tag that the parser holds back until it has seen the whole of it.
  [[nodiscard]] std::ptrdiff_t HeldSigns() const {
    const xmlParserInput* const input = parser_->input;
    if (input == nullptr || input->end - input->cur < 2 || input->cur[0] != '<') return 0;
    const bool isTag = input->cur[1] != '!' && input->cur[1] != '?';
    return isTag ? std::count(input->cur, input->end, '=') : 0;
  }

  XmlParser parser_;
  std::uint64_t fed_ = 0;
  std::uint64_t seen_ = 0;  // bytes of names and text that the parser handed over
  int depth_ = 0;
  int depthInside_ = 0;  // of the element that is being read; 0 outside
  bool found_ = false;
  bool refused_ = false;
  std::string text_;
};

/// Fills the buffer as far as the file goes.
std::span<const char> ReadPiece(FileReader& file, std::vector<char>& buffer) {
  std::size_t filled = 0;
  while (filled < buffer.size()) {
    const std::size_t got = file.Read(std::span(buffer).subspan(filled));
    if (got == 0) break;
    filled += got;
  }
  return std::span(buffer).first(filled);
}

std::string Lower(const std::optional<std::string>& indicator) {
  return indicator ? ToLowerAscii(*indicator) : std::string();
}

}  // namespace

std::string_view ModeWord(const std::optional<std::string>& indicator) {
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 6> words{
      {{"a", "Archive"},
       {"p", "Process"},
       {"", "Partial"},
       {"e", "Error"},
       {"r", "Recect"},
       {"f", "Fault logged"}}};
  if (!indicator) return NoModeIndicator;
  const std::string letter = Lower(indicator);
  const auto* const word =
      std::find_if(words.begin(), words.end(), [&](const auto& one) { return one.first == letter; });
  return word == words.end() ? std::string_view() : word->second;
}

bool IsProcessMode(const std::optional<std::string>& indicator) {
  return Lower(indicator) == "p";
}

ModeIndicatorReader::ModeIndicatorReader() : piece_(PieceBytes) {}

std::optional<std::string> ModeIndicatorReader::Read(FileReader& file, StatusDisplay& display) {
  Pass pass;
  for (;;) {
    const std::span<const char> piece = ReadPiece(file, piece_);
    const bool last = piece.size() < piece_.size();
    if (!pass.Parse(piece, last)) return std::nullopt;
    if (last) return pass.Result();
    display.ProcessEvents();
    if (display.IsCancelled()) return std::nullopt;
  }
}

}  // namespace fieldpost
