#include "xml/XmlOutputEncoding.h"

#include <libxml/encoding.h>
#include <libxml/tree.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include "common/Text.h"

namespace fieldpost {
namespace {

struct CloseHandler {
  void operator()(xmlCharEncodingHandler* handler) const { xmlCharEncCloseFunc(handler); }
};
struct FreeBuffer {
  void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
};
using Buffer = std::unique_ptr<xmlBuffer, FreeBuffer>;
using Handler = std::unique_ptr<xmlCharEncodingHandler, CloseHandler>;

std::string AllAscii() {
  std::string text = "\t\r\n";
  for (char c = ' '; c <= '~'; ++c) text += c;
  return text;
}

std::string Written(xmlCharEncodingHandler* handler, const std::string& utf8) {
  const Buffer in(xmlBufferCreate());
  const Buffer out(xmlBufferCreate());
  xmlBufferAdd(in.get(), reinterpret_cast<const xmlChar*>(utf8.data()), static_cast<int>(utf8.size()));
  xmlCharEncOutFunc(handler, out.get(), in.get());
  return {reinterpret_cast<const char*>(xmlBufferContent(out.get())),
          static_cast<std::size_t>(xmlBufferLength(out.get()))};
}

bool KeepsAscii(xmlCharEncodingHandler* handler) {
  const std::string ascii = AllAscii();
  return Written(handler, ascii) == ascii;
}

/// Asks with a character that next to no encoding has.
bool RefersToWhatItLacks(xmlCharEncodingHandler* handler) {
  const std::string written = Written(handler, "\xF4\x8F\xBF\xBDz");
  return written == "&#1114109;z" || written.find('&') == std::string::npos;
}

}  // namespace

bool CanHoldAnyText(const std::string& encoding) {
  if (EqualNoCase(std::string_view(encoding).substr(0, 6), "UTF-16")) return true;
  const Handler handler(xmlFindCharEncodingHandler(encoding.c_str()));
  return handler && KeepsAscii(handler.get()) && RefersToWhatItLacks(handler.get());
}

bool CanBeWrittenInPieces(const std::string& encoding) {
  const Handler handler(xmlFindCharEncodingHandler(encoding.c_str()));
  return handler && std::ranges::all_of(std::array{"<", "\u00E9", "\u65E5", "\uD55C"}, [&](const char* text) {
           const std::string first = Written(handler.get(), text);
           return Written(handler.get(), text) == first;
         });
}

}  // namespace fieldpost
