#include "common/XmlOutputEncoding.h"

#include <libxml/encoding.h>
#include <libxml/tree.h>

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

std::string AllAscii() {
  std::string text = "\t\r\n";
  for (char c = ' '; c <= '~'; ++c) text += c;
  return text;
}

bool KeepsAscii(xmlCharEncodingHandler* handler) {
  const std::string ascii = AllAscii();
  const Buffer in(xmlBufferCreate());
  const Buffer out(xmlBufferCreate());
  xmlBufferAdd(in.get(), reinterpret_cast<const xmlChar*>(ascii.data()), static_cast<int>(ascii.size()));
  xmlCharEncOutFunc(handler, out.get(), in.get());
  const std::string_view written(reinterpret_cast<const char*>(xmlBufferContent(out.get())),
                                 static_cast<std::size_t>(xmlBufferLength(out.get())));
  return written == ascii;
}

}  // namespace

bool CanHoldMarkup(const std::string& encoding) {
  if (EqualNoCase(std::string_view(encoding).substr(0, 6), "UTF-16")) return true;
  const std::unique_ptr<xmlCharEncodingHandler, CloseHandler> handler(
      xmlFindCharEncodingHandler(encoding.c_str()));
  return handler && KeepsAscii(handler.get());
}

}  // namespace fieldpost
