#include "xml/XmlEncoding.h"

#include <fmt/format.h>
#include <libxml/encoding.h>
#include <libxml/tree.h>

#include <algorithm>
#include <array>
#include <new>

#include "common/Text.h"
#include "xml/QuietLibXml.h"
#include "xml/XmlError.h"

namespace fieldpost {
namespace {

using Buffer = std::unique_ptr<xmlBuffer, FreeXmlBuffer>;
using Handler = std::unique_ptr<xmlCharEncodingHandler, CloseXmlEncoding>;

Buffer NewBuffer() {
  Buffer buffer(xmlBufferCreate());
  if (!buffer) throw std::bad_alloc();
  return buffer;
}

void Add(_xmlBuffer* buffer, std::string_view bytes) {
  if (xmlBufferAdd(buffer, reinterpret_cast<const xmlChar*>(bytes.data()), static_cast<int>(bytes.size())) !=
      0) {
    throw std::bad_alloc();
  }
}

std::string_view Content(const _xmlBuffer* buffer) {
  return {reinterpret_cast<const char*>(xmlBufferContent(buffer)),
          static_cast<std::size_t>(xmlBufferLength(buffer))};
}

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string AllAscii() {
  std::string text = "\t\r\n";
  for (char c = ' '; c <= '~'; ++c) text += c;
  return text;
}

/// Converts UTF-8 to the encoding, up to the first character that cannot be converted.
std::string Written(xmlCharEncodingHandler* handler, std::string_view utf8) {
  const Buffer in = NewBuffer();
  const Buffer out = NewBuffer();
  Add(in.get(), utf8);
  xmlCharEncOutFunc(handler, out.get(), in.get());
  return std::string(Content(out.get()));
}

bool KeepsAscii(xmlCharEncodingHandler* handler) {
  const std::string ascii = AllAscii();
  return Written(handler, ascii) == ascii;
}

/// Whether a character that the encoding lacks becomes a reference to it. Tested with a character that hardly
/// any encoding has.
bool WritesReferences(xmlCharEncodingHandler* handler) {
  const std::string written = Written(handler, "\xF4\x8F\xBF\xBDz");
  return written == "&#1114109;z" || written.find('&') == std::string::npos;
}

}  // namespace

std::string DeclaredEncoding(std::string_view beginning) {
  if (!beginning.starts_with("<?xml") || beginning.size() < 6 || !IsBlank(beginning[5])) return {};
  const std::string_view declaration = beginning.substr(0, beginning.find("?>"));
  constexpr std::string_view word = "encoding";
  std::size_t at = declaration.find(word);
  if (at == std::string_view::npos) return {};
  at = declaration.find_first_of("\"'", at + word.size());
  if (at == std::string_view::npos) return {};
  const std::size_t end = declaration.find(declaration[at], at + 1);
  if (end == std::string_view::npos) return {};
  return std::string(declaration.substr(at + 1, end - at - 1));
}

bool CanHoldAnyText(const std::string& encoding) {
  if (EqualNoCase(std::string_view(encoding).substr(0, 6), "UTF-16")) return true;
  const QuietLibXml quiet;
  const Handler handler(xmlFindCharEncodingHandler(encoding.c_str()));
  return handler && KeepsAscii(handler.get()) && WritesReferences(handler.get());
}

bool CanBeWrittenInPieces(const std::string& encoding) {
  const QuietLibXml quiet;
  const Handler handler(xmlFindCharEncodingHandler(encoding.c_str()));
  return handler && std::ranges::all_of(std::array{"<", "\u00E9", "\u65E5", "\uD55C"}, [&](const char* text) {
           const std::string first = Written(handler.get(), text);
           return Written(handler.get(), text) == first;
         });
}

void FreeXmlBuffer::operator()(xmlBuffer* buffer) const {
  xmlBufferFree(buffer);
}

void CloseXmlEncoding::operator()(xmlCharEncodingHandler* handler) const {
  xmlCharEncCloseFunc(handler);
}

XmlEncoding::XmlEncoding(const std::string& name) : name_(name) {
  if (name.empty() || EqualNoCase(name, "UTF-8") || EqualNoCase(name, "UTF8")) return;
  const QuietLibXml quiet;
  handler_.reset(xmlFindCharEncodingHandler(name.c_str()));
  if (!handler_) throw XmlError(fmt::format("unknown encoding \"{}\"", EscapeControls(name)));
  if (!CanBeWrittenInPieces(name))
    throw XmlError(fmt::format("cannot write the encoding {}", EscapeControls(name)));
  in_ = NewBuffer();
  out_ = NewBuffer();
}

std::string_view XmlEncoding::ToUtf8(std::string_view bytes) {
  if (IsUtf8()) return bytes;
  xmlBufferEmpty(out_.get());
  Add(in_.get(), bytes);
  const QuietLibXml quiet;
  for (;;) {
    const int before = xmlBufferLength(in_.get());
    if (before == 0) break;
    constexpr int impossible = -2;
    if (xmlCharEncInFunc(handler_.get(), out_.get(), in_.get()) == impossible) {
      throw XmlError(fmt::format("the text is not in the encoding {}", EscapeControls(name_)));
    }
    if (xmlBufferLength(in_.get()) == before) break;
  }
  return Content(out_.get());
}

bool XmlEncoding::IsCutOff() const {
  return in_ && xmlBufferLength(in_.get()) > 0;
}

void XmlEncoding::AppendTo(std::string& target, std::string_view utf8) {
  if (IsUtf8()) {
    target.append(utf8);
    return;
  }
  xmlBufferEmpty(in_.get());
  xmlBufferEmpty(out_.get());
  Add(in_.get(), utf8);
  const QuietLibXml quiet;
  for (int before = xmlBufferLength(in_.get()); before > 0;) {
    static_cast<void>(xmlCharEncOutFunc(handler_.get(), out_.get(), in_.get()));
    const int left = xmlBufferLength(in_.get());
    if (left == before) throw XmlError(fmt::format("cannot write the encoding {}", EscapeControls(name_)));
    before = left;
  }
  target.append(Content(out_.get()));
}

}  // namespace fieldpost
