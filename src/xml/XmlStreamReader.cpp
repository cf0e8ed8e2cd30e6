#include "xml/XmlStreamReader.h"

#include <fmt/format.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <array>
#include <limits>
#include <new>

#include "common/Limits.h"
#include "common/Text.h"
#include "xml/LibXml.h"
#include "xml/QuietLibXml.h"
#include "xml/XmlEncoding.h"
#include "xml/XmlError.h"

namespace fieldpost {
namespace {

using Encoding = XmlReadOptions::Encoding;
using Names = XmlReadOptions::Names;

constexpr int ParseOptions = XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_COMPACT | XML_PARSE_NOERROR |
                             XML_PARSE_NOWARNING | XML_PARSE_BIG_LINES;
/// Input is passed to libxml2 in pieces; between two pieces an unclosed tag is checked.
constexpr std::size_t PieceBytes = 8192;
/// So short a document is parsed whole: even if it is one tag, its attributes take little time.
constexpr std::size_t SmallBytes = 32768;

/// Whether an encoding writes "<" and "=" as the bytes that they are in ASCII, and nothing else as these.
bool IsLikeAscii(std::string_view encoding) {
  constexpr std::array<std::string_view, 5> beginnings{"utf-8", "iso-8859-", "us-ascii", "windows-125",
                                                       "ascii"};
  const std::string lower = ToLowerAscii(encoding);
  return encoding.empty() ||
         std::any_of(beginnings.begin(), beginnings.end(),
                     [&](std::string_view beginning) { return lower.starts_with(beginning); });
}

/// Whether the tags of a document can be found in its bytes.
bool ShowsItsTags(std::string_view bytes) {
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  if (bytes.starts_with(mark)) bytes.remove_prefix(mark.size());
  return bytes.starts_with('<') && !bytes.substr(1).starts_with('\0') && IsLikeAscii(DeclaredEncoding(bytes));
}

/// Returns libxml2's message, or a more precise one where libxml2 uses one message for several faults.
std::string Message(const xmlError& error, bool isElementOpen) {
  const std::string_view message = error.message == nullptr ? "not well-formed" : error.message;
  for (const std::string_view tooLong : {"Huge input lookup", "too big found", "AttValue length too long"}) {
    if (message.find(tooLong) != std::string_view::npos)
      return "an attribute, a comment or another part of more than 10 MB";
  }
  if (message.starts_with("Premature end of data")) return "the document ends too early";
  switch (error.code) {
    case XML_ERR_DOCUMENT_END:
      if (isElementOpen) return "the document ends too early";
      break;
    case XML_ERR_DOCUMENT_EMPTY:
      return "Start tag expected, '<' not found";
    case XML_ERR_ENTITY_LOOP:
      return "an entity refers to itself, or its entities expand to far more text than the file contains";
    default:
      break;
  }
  return EscapeControls(Trimmed(message));
}

}  // namespace

void XmlStreamReader::FreeParser::operator()(xmlParserCtxt* parser) const {
  xmlFreeDoc(parser->myDoc);
  xmlFreeParserCtxt(parser);
}

XmlStreamReader::XmlStreamReader(XmlHandler& handler, const XmlReadOptions& options)
    : XmlStreamReader(&handler, options) {}

XmlStreamReader::XmlStreamReader(const XmlLimits& limits) : XmlStreamReader(nullptr, {.limits = limits}) {}

XmlStreamReader::XmlStreamReader(XmlHandler* handler, const XmlReadOptions& options)
    : handler_(handler),
      options_(options),
      parser_(xmlCreatePushParserCtxt(nullptr, nullptr, nullptr, 0, nullptr)),
      usage_(options.limits) {
  if (!parser_) throw std::bad_alloc();
  parser_->_private = this;
  xmlCtxtUseOptions(parser_.get(),
                    ParseOptions | (options.encoding == Encoding::Utf8 ? XML_PARSE_IGNORE_ENC : 0));
  // Otherwise libxml2 guesses the encoding from the first bytes.
  if (options.encoding == Encoding::Utf8) parser_->charset = XML_CHAR_ENCODING_UTF8;
  if (options.limits.names == XmlLimits::Unlimited) xmlDictSetLimit(parser_->dict, 0);
  SetCallbacks();
}

XmlStreamReader::~XmlStreamReader() = default;

void XmlStreamReader::Feed(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::string_view piece = bytes.substr(0, PieceSize(bytes));
    ParsePiece(piece, false);
    bytes.remove_prefix(piece.size());
  }
}

/// With each piece, libxml2 searches a document type for its end from the beginning. Pieces as large as the
/// text that it has buffered keep the time linear. But a piece must not contain a whole tag with too many
/// attributes, which can be checked only when the text is not converted.
std::size_t XmlStreamReader::PieceSize(std::string_view bytes) const {
  const xmlParserInput* const input = parser_->input;
  if (parser_->instate != XML_PARSER_DTD || input == nullptr || input->buf == nullptr ||
      input->buf->encoder != nullptr) {
    return PieceBytes;
  }
  const auto buffered = static_cast<std::size_t>(input->end - input->cur);
  if (MayExceedAttributes(bytes.substr(0, buffered), options_.limits.attributes)) return PieceBytes;
  return std::max(PieceBytes, buffered);
}

void XmlStreamReader::Finish(std::string_view bytes) {
  if (fed_ == 0 && MayParseWhole(bytes)) return ParseWhole(bytes);
  Feed(bytes);
  ParsePiece({}, true);
}

/// The number of attributes in a tag cannot be checked before libxml2 parses the tag, so a document is parsed
/// whole only when it is small or visibly has no such tag.
bool XmlStreamReader::MayParseWhole(std::string_view bytes) const {
  if (options_.encoding != Encoding::Declared || options_.names != Names::Resolved) return false;
  if (bytes.size() <= SmallBytes) return true;
  return bytes.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max()) && ShowsItsTags(bytes) &&
         !MayExceedAttributes(bytes, options_.limits.attributes);
}

void XmlStreamReader::ParseWhole(std::string_view bytes) {
  const QuietLibXml quiet;  // errors of its converters belong to no parser, so OnError does not get them
  parser_->myDoc = xmlCtxtReadMemory(parser_.get(), bytes.data(), static_cast<int>(bytes.size()), nullptr,
                                     nullptr, ParseOptions);
  CheckParsed(true);
  const xmlParserInput* const input = parser_->input;
  if (input != nullptr) CheckPadding(FromXml(input->cur, input->end - input->cur));
}

void XmlStreamReader::ParsePiece(std::string_view piece, bool isLast) {
  fed_ += piece.size();
  if (padded_) return CheckPadding(piece);
  const QuietLibXml quiet;
  xmlParseChunk(parser_.get(), piece.data(), static_cast<int>(piece.size()), isLast ? 1 : 0);
  CheckParsed(isLast);
  CheckUnclosedTag();
}

void XmlStreamReader::CheckParsed(bool isWhole) const {
  if (failure_) std::rethrow_exception(failure_);
  if (!padded_ && parser_->wellFormed != 1) throw XmlError("not well-formed");
  // libxml2 ends without an error at text that it cannot convert.
  if (isWhole && (!usage_.HasRoot() || usage_.Depth() > 0)) Refuse("the document ends too early");
  CheckNames();
}

void XmlStreamReader::CheckNames() const {
  if (static_cast<std::size_t>(xmlDictSize(parser_->dict)) > options_.limits.names) {
    Refuse(MoreThan(options_.limits.names, "different names"));
  }
}

std::uint64_t XmlStreamReader::Position() const {
  return padded_ ? fed_ : static_cast<std::uint64_t>(xmlByteConsumed(parser_.get()));
}

LibXmlTree XmlStreamReader::TakeTree() {
  return LibXmlTree(std::exchange(parser_->myDoc, nullptr));
}

void XmlStreamReader::Refuse(std::string_view reason) const {
  throw XmlError(fmt::format("line {}: {}", parser_->input == nullptr ? 0 : parser_->input->line, reason));
}

/// Refuses the document when a reason is given.
void XmlStreamReader::RefuseIf(std::string_view reason) const {
  if (!reason.empty()) Refuse(reason);
}

void XmlStreamReader::Stop(void* context) {
  xmlStopParser(static_cast<xmlParserCtxt*>(context));
  xmlStopParser(parser_.get());
}

/// Keeps the first error: later ones are mostly its consequences. Stops the parser at a fatal error, after
/// which it would read on without calling the handler. Validity errors are ignored.
void XmlStreamReader::HandleError(const xmlError& error, void* context) {
  const bool isFatal = error.level == XML_ERR_FATAL;
  const bool breaksNamespaces = error.level == XML_ERR_ERROR && error.domain == XML_FROM_NAMESPACE;
  if (failure_ || (!isFatal && !breaksNamespaces)) return;
  try {
    const xmlParserInput* const input = parser_->input;
    padded_ = error.code == XML_ERR_DOCUMENT_END && parser_->instate == XML_PARSER_EPILOG &&
              input->cur < input->end && *input->cur == 0;
    if (!padded_) throw XmlError(fmt::format("line {}: {}", error.line, Message(error, usage_.Depth() > 0)));
    CheckPadding(FromXml(input->cur, input->end - input->cur));
  } catch (...) {
    failure_ = std::current_exception();
  }
  if (isFatal) Stop(context);
}

void XmlStreamReader::CheckPadding(std::string_view bytes) const {
  if (bytes.find_first_not_of('\0') != std::string_view::npos) Refuse("text after a zero byte");
}

void XmlStreamReader::CheckUnclosedTag() {
  const xmlParserInput* const input = parser_->input;
  if (padded_ || input == nullptr || input->end - input->cur < 2) return;
  if (input->cur[0] != '<' || input->cur[1] == '!' || input->cur[1] == '?') return;
  const std::uint64_t at = input->consumed + static_cast<std::uint64_t>(input->cur - input->base);
  unclosed_.Read(at, FromXml(input->cur, input->end - input->cur));
  const XmlLimits& limits = options_.limits;
  const std::size_t declarations = options_.names == Names::Resolved ? limits.namespaces : 0;
  if (unclosed_.Attributes() > limits.attributes + declarations) {
    Refuse(MoreThan(limits.attributes, "attributes in one tag"));
  }
  if (unclosed_.Bytes() > limits.tagBytes)
    Refuse(fmt::format("a tag of more than {} bytes", limits.tagBytes));
}

}  // namespace fieldpost
